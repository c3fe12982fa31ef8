#pragma once

#include "platform/linux/MprisClient.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QFile>
#include <QString>
#include <QTest>

#include <cstdio>

// What the benchmarks of real players share.
namespace PlayerBench {

// Back to the middle of the track, where steps of 10 s either way stay clear of both ends.
inline void recentre(const QString& service) {
    const PlayerBus bus = PlayerBus::session();
    const auto state = MprisClient::readState(bus, service, 3000);
    if (!state || !state->positionUs || !state->lengthUs) {
        std::fprintf(stderr, "bench: cannot read %s\n", qPrintable(service));
        return;
    }
    const double middle = static_cast<double>(*state->lengthUs) / 2e6;
    MprisClient::seekFrom(bus, service, *state,
                          middle - static_cast<double>(*state->positionUs) / 1e6, 3000);
    QTest::qWait(500);
}

// The machine is shared: its load says how far figures of different runs compare.
inline QByteArray loadAverage() {
    QFile file(QStringLiteral("/proc/loadavg"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray("?");
}

} // namespace PlayerBench
