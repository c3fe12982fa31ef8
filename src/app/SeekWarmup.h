#pragma once

#include "models/SeekAction.h"

#include <QList>

#include <memory>

class PlayerControl;

// Prepares, on a utility thread, whatever a seek by each of the actions' amounts needs, so that
// the first press of each is as quick as the next: the scripts where players are driven by
// scripts, and nothing where a seek is one call to the player.
class SeekWarmup {
public:
    // The amounts the actions seek by, each once, in list order; play/pause has no seek.
    static QList<double> amounts(const QList<SeekAction>& actions);
    // False where no thread could be had: each seek is then prepared by its first run.
    static bool start(std::shared_ptr<PlayerControl> players, const QList<SeekAction>& actions);
};
