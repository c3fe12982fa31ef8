#pragma once

#include "RangeHttpServer.h"

#include <QProcess>
#include <QTemporaryDir>

#include <memory>

// Chromium, in a window of the test's X server with a fresh profile, playing an audible
// generated video from a page served on 127.0.0.1. Chromium publishes an MPRIS player only for
// audible media; this is the real target that stands for YouTube in Chrome.
class ChromiumPage {
public:
    static constexpr int videoSeconds = 120;
    static constexpr const char* title = "Scrubline Test Video";
    static constexpr const char* artist = "Scrubline";

    ChromiumPage();
    ~ChromiumPage();
    ChromiumPage(const ChromiumPage&) = delete;
    ChromiumPage& operator=(const ChromiumPage&) = delete;

    // Starts the browser on the page; false with a message when it cannot.
    bool start(QString* problem);
    // The browser's MPRIS bus name, once it has one (empty before).
    QString busName() const;
    // Waits until the player is on the bus and playing.
    bool waitUntilPlaying(int timeoutMs = 60000);
    qint64 pid() const { return m_browser.processId(); }
    void quit();

private:
    QTemporaryDir m_folder;
    std::unique_ptr<RangeHttpServer> m_server;
    QProcess m_browser;
};
