#include "ReopenSingleInstance.h"

#include <QApplicationStateChangeEvent>
#include <QEvent>
#include <QGuiApplication>

namespace {

// Active after active: the only such change is the one the toolkit forces on a reopen.
class ReopenWatcher : public QObject {
public:
    explicit ReopenWatcher(std::function<void()> reopen)
        : m_reopen(std::move(reopen))
        , m_state(QGuiApplication::applicationState()) {}

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == qApp && event->type() == QEvent::ApplicationStateChange) {
            const Qt::ApplicationState state =
                static_cast<QApplicationStateChangeEvent*>(event)->applicationState();
            const bool reopened =
                state == Qt::ApplicationActive && m_state == Qt::ApplicationActive;
            m_state = state;
            if (reopened && m_reopen) {
                m_reopen();
            }
        }
        return false;
    }

private:
    std::function<void()> m_reopen;
    Qt::ApplicationState m_state;
};

} // namespace

ReopenSingleInstance::ReopenSingleInstance() = default;

ReopenSingleInstance::~ReopenSingleInstance() = default;

bool ReopenSingleInstance::claim(Requests requests) {
    m_reopenWatcher = std::make_unique<ReopenWatcher>(std::move(requests.reopen));
    qApp->installEventFilter(m_reopenWatcher.get());
    return true;
}
