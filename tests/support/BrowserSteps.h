#pragma once

#include "BrowserPage.h"
#include "platform/PlayerControl.h"

#include <QTest>

#include <algorithm>
#include <optional>

// How far from where it should have landed one step put a browser's video, in seconds, by the
// page's own word: where the video was after the last step, plus the time since the page said
// so, plus the step, kept inside the video. Absent when the step failed or no landing came.
inline std::optional<double> missOfStep(PlayerControl& control, MediaApp app, BrowserPage& page,
                                        double seconds) {
    if (page.landings().isEmpty()) {
        return std::nullopt;
    }
    const BrowserPage::Landing last = page.landings().last();
    const auto count = page.landings().size();
    const qint64 pressedAtNs = page.nowNs();
    if (control.seekIfPlaying(app, seconds, 3.0).result != SeekResult::seeked) {
        return std::nullopt;
    }
    if (!QTest::qWaitFor([&] { return page.landings().size() > count; }, 10000)) {
        return std::nullopt;
    }
    const double landed = page.landings().at(count).seconds;
    const double target =
        std::clamp(last.seconds + static_cast<double>(pressedAtNs - last.heardAtNs) / 1e9 + seconds,
                   0.0, static_cast<double>(BrowserPage::videoSeconds));
    qInfo("%+.1f s: from %.3f, to %.3f, target %.3f, %.3f s off", seconds, last.seconds, landed,
          target, landed - target);
    return landed - target;
}
