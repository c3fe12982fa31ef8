#include "LoginItemController.h"

#include "platform/LoginItem.h"
#include "utilities/Logger.h"

LoginItemController::LoginItemController(std::unique_ptr<LoginItem> item, QObject* parent)
    : QObject(parent)
    , m_item(std::move(item)) {}

LoginItemController::~LoginItemController() = default;

bool LoginItemController::isEnabled() const {
    return m_item && m_item->isEnabled();
}

bool LoginItemController::setEnabled(bool enabled) {
    // The state is not asked first: registering again repairs an entry that went stale.
    const QString error = m_item ? m_item->setEnabled(enabled)
                                 : QStringLiteral("no login item is set up on this system");
    if (!error.isEmpty()) {
        qCCritical(Log::general(), "Launch at login error: %s", qUtf8Printable(error));
    }
    const bool state = isEnabled();
    emit switched(state);
    return state;
}
