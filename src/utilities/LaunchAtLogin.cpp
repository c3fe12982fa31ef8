#include "LaunchAtLogin.h"

#include "Logger.h"
#include "platform/Platform.h"

namespace LaunchAtLogin {
namespace {

std::unique_ptr<LoginItem>& loginItem() {
    static std::unique_ptr<LoginItem> item;
    return item;
}

} // namespace

void setEnabled(bool enabled) {
    std::unique_ptr<LoginItem>& item = loginItem();
    if (!item) {
        item = Platform::createLoginItem();
    }
    const QString error = item->setEnabled(enabled);
    if (!error.isEmpty()) {
        qCCritical(Log::general(), "Launch at login error: %s", qUtf8Printable(error));
    }
}

void setLoginItem(std::unique_ptr<LoginItem> item) {
    loginItem() = std::move(item);
}

} // namespace LaunchAtLogin
