#include "LaunchAtLogin.h"

#include "platform/LoginItem.h"
#include "utilities/Logger.h"

namespace LaunchAtLogin {
namespace {

std::unique_ptr<LoginItem>& loginItem() {
    static std::unique_ptr<LoginItem> item;
    return item;
}

} // namespace

void setEnabled(bool enabled) {
    const std::unique_ptr<LoginItem>& item = loginItem();
    const QString error =
        item ? item->setEnabled(enabled) : QStringLiteral("no login item is set up on this system");
    if (!error.isEmpty()) {
        qCCritical(Log::general(), "Launch at login error: %s", qUtf8Printable(error));
    }
}

void setLoginItem(std::unique_ptr<LoginItem> item) {
    loginItem() = std::move(item);
}

} // namespace LaunchAtLogin
