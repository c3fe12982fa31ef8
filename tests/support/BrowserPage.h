#pragma once

#include "RangeHttpServer.h"

#include <QElapsedTimer>
#include <QList>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>

// A browser (Chromium or Firefox ESR), in a window of the test's X server with a fresh
// profile, playing an audible generated video from a page served on 127.0.0.1. Browsers
// publish an MPRIS player only for audible media. The page's media session handles
// "seekforward" and "seekbackward" itself with a fixed step of its own, as YouTube does, and
// honours "seekto"; after each seek it tells the server where the video now is.
class BrowserPage {
public:
    enum class Browser { chromium, firefox };

    static constexpr int videoSeconds = 120;
    // The page's own skip, whatever it is asked for.
    static constexpr double pageStepSeconds = 5;
    static constexpr const char* title = "Scrubline Test Video";
    static constexpr const char* artist = "Scrubline";

    // Where the video landed after a seek, and when the page said so on the test's clock.
    struct Landing {
        double seconds = 0;
        qint64 heardAtNs = 0;
    };

    explicit BrowserPage(Browser browser = Browser::chromium);
    ~BrowserPage();
    BrowserPage(const BrowserPage&) = delete;
    BrowserPage& operator=(const BrowserPage&) = delete;

    // Starts the browser on the page; false with a message when it cannot.
    bool start(QString* problem);
    // The browser's MPRIS bus name, once it has one (empty before).
    QString busName() const;
    // Waits until the player is on the bus and playing.
    bool waitUntilPlaying(int timeoutMs = 60000);
    qint64 pid() const { return m_browser.processId(); }
    void quit();

    // Every landing the page reported, in order; the clock they are read on.
    const QList<Landing>& landings() const { return m_landings; }
    qint64 nowNs() const { return m_clock.nsecsElapsed(); }

private:
    bool startFirefox(QString* problem);

    Browser m_kind;
    QTemporaryDir m_folder;
    std::unique_ptr<RangeHttpServer> m_server;
    QProcess m_browser;
    QElapsedTimer m_clock;
    QList<Landing> m_landings;
};
