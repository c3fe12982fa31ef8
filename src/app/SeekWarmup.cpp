#include "SeekWarmup.h"

#include "platform/PlayerControl.h"
#include "utilities/ConcurrentQueue.h"

QList<double> SeekWarmup::amounts(const QList<SeekAction>& actions) {
    QList<double> amounts;
    for (const SeekAction& action : actions) {
        if (const double seconds = action.signedSeconds();
            seconds != 0.0 && !amounts.contains(seconds)) {
            amounts.append(seconds);
        }
    }
    return amounts;
}

bool SeekWarmup::start(std::shared_ptr<PlayerControl> players, const QList<SeekAction>& actions) {
    return ConcurrentQueue::utility().async(
        [amounts = amounts(actions), players = std::move(players)] {
            for (const double seconds : amounts) {
                players->warmSeek(seconds);
            }
        });
}
