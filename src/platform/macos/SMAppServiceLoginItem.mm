#include "SMAppServiceLoginItem.h"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

QString SMAppServiceLoginItem::setEnabled(bool enabled) {
    @autoreleasepool {
        // The current status is not asked first: registering twice is simply attempted again.
        SMAppService* service = [SMAppService mainAppService];
        NSError* error = nil;
        const BOOL ok = enabled ? [service registerAndReturnError:&error]
                                : [service unregisterAndReturnError:&error];
        if (ok) {
            return {};
        }
        return error != nil ? QString::fromNSString(error.localizedDescription)
                            : QStringLiteral("Unknown error");
    }
}

bool SMAppServiceLoginItem::isEnabled() const {
    @autoreleasepool {
        return [SMAppService mainAppService].status == SMAppServiceStatusEnabled;
    }
}
