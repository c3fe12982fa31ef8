#include "AppleScriptEngine.h"

#import <Foundation/Foundation.h>

namespace {

// An NSNumber holding an integer; booleans and floating-point numbers are not error numbers.
bool isInteger(id value) {
    if (![value isKindOfClass:[NSNumber class]]) {
        return false;
    }
    CFNumberRef number = (__bridge CFNumberRef)value;
    return CFGetTypeID(number) == CFNumberGetTypeID() && !CFNumberIsFloatType(number);
}

class AppleScriptObject : public ScriptEngine::Script {
public:
    explicit AppleScriptObject(NSAppleScript* script)
        : m_script(script) {}

    ScriptEngine::Reply run() override {
        @autoreleasepool {
            ScriptEngine::Reply reply;
            NSDictionary<NSString*, id>* error = nil;
            // Not compiled beforehand: the object compiles itself on its first run and keeps
            // the compiled form for the next.
            NSAppleEventDescriptor* result = [m_script executeAndReturnError:&error];
            if (error != nil) {
                reply.failed = true;
                id number = error[NSAppleScriptErrorNumber];
                if (isInteger(number)) {
                    reply.errorNumber = [static_cast<NSNumber*>(number) longLongValue];
                }
                id message = error[NSAppleScriptErrorMessage];
                if ([message isKindOfClass:[NSString class]]) {
                    reply.errorMessage = QString::fromNSString(static_cast<NSString*>(message));
                }
                return reply;
            }
            NSString* text = result.stringValue;
            if (text != nil) {
                reply.text = QString::fromNSString(text);
            }
            return reply;
        }
    }

private:
    NSAppleScript* m_script;
};

} // namespace

std::shared_ptr<ScriptEngine::Script> AppleScriptEngine::build(const QString& source) {
    @autoreleasepool {
        NSAppleScript* script = [[NSAppleScript alloc] initWithSource:source.toNSString()];
        if (script == nil) {
            return nullptr;
        }
        return std::make_shared<AppleScriptObject>(script);
    }
}
