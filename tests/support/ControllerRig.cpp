#include "ControllerRig.h"

#include "OnDisk.h"
#include "platform/LoginItem.h"

#include "platform/Platform.h"
#include "settings/SettingsStore.h"

#include <QEventLoop>
#include <QSettings>
#include <QTimer>

ControllerRig::ControllerRig(QList<MediaApp> offeredApps, std::unique_ptr<LoginItem> loginItem)
    : m_settings(appSettingsAt(m_home.path() + QStringLiteral("/settings.conf"),
                               std::move(offeredApps), std::move(loginItem)))
    , m_players(std::make_shared<FakePlayers>())
    , m_desktop(Platform::createDesktopIntegration()) {}

ControllerRig::~ControllerRig() {
    m_players->openGate();
    m_controller.reset();
    m_status.reset();
}

void ControllerRig::start(const QSet<MediaApp>& running, bool settled) {
    auto apps = std::make_unique<FakeRunningApps>(running, settled);
    m_running = apps.get();
    m_status = std::make_unique<MediaStatus>(m_players, *m_settings);
    m_controller = std::make_unique<MediaController>(
        m_players, std::move(apps), *m_settings, *m_status,
        m_desktop->texts().permissionDeniedStatus, MediaApp::BrowserNaming::bySite);
    QObject::connect(m_controller.get(), &MediaController::alertRequested, m_controller.get(),
                     [this](const UserAlert& alert) { m_alerts << alert; });
}

qsizetype ControllerRig::seek(const QList<double>& requests, int timeoutMs) {
    qsizetype served = 0;
    QEventLoop loop;
    const auto connection = QObject::connect(m_controller.get(), &MediaController::seekFinished,
                                             &loop, [&served, &loop, &requests] {
                                                 if (++served == requests.size()) {
                                                     loop.quit();
                                                 }
                                             });
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    for (const double seconds : requests) {
        m_controller->enqueueSeek(seconds);
    }
    if (served < requests.size()) {
        loop.exec();
    }
    QObject::disconnect(connection);
    return served;
}
