#include "SystemSymbolImages.h"

#import <AppKit/AppKit.h>

#include <algorithm>
#include <cmath>

QByteArray SystemSymbolImages::image(const QString& name, int pixelSize) const {
    if (pixelSize <= 0) {
        return {};
    }
    @autoreleasepool {
        NSImage* symbol = [NSImage imageWithSystemSymbolName:name.toNSString()
                                    accessibilityDescription:nil];
        if (symbol == nil) {
            return {};
        }
        NSImageSymbolConfiguration* configuration =
            [NSImageSymbolConfiguration configurationWithPointSize:pixelSize
                                                            weight:NSFontWeightMedium];
        if (NSImage* configured = [symbol imageWithSymbolConfiguration:configuration]) {
            symbol = configured;
        }
        const NSSize natural = symbol.size;
        if (natural.width <= 0 || natural.height <= 0) {
            return {};
        }
        // Fitted into the square without distortion, centred.
        const CGFloat scale = std::min(pixelSize / natural.width, pixelSize / natural.height);
        const NSRect target = NSMakeRect((pixelSize - natural.width * scale) / 2,
                                         (pixelSize - natural.height * scale) / 2,
                                         natural.width * scale, natural.height * scale);

        NSBitmapImageRep* bitmap =
            [[NSBitmapImageRep alloc] initWithBitmapDataPlanes:nullptr
                                                    pixelsWide:pixelSize
                                                    pixelsHigh:pixelSize
                                                 bitsPerSample:8
                                               samplesPerPixel:4
                                                      hasAlpha:YES
                                                      isPlanar:NO
                                                colorSpaceName:NSDeviceRGBColorSpace
                                                   bytesPerRow:pixelSize * 4
                                                  bitsPerPixel:32];
        if (bitmap == nil) {
            return {};
        }
        NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithBitmapImageRep:bitmap];
        if (context == nil) {
            return {};
        }
        [NSGraphicsContext saveGraphicsState];
        NSGraphicsContext.currentContext = context;
        // A symbol image is a template: drawn as it is, it comes out black.
        [symbol drawInRect:target
                  fromRect:NSZeroRect
                 operation:NSCompositingOperationSourceOver
                  fraction:1.0];
        [context flushGraphics];
        [NSGraphicsContext restoreGraphicsState];

        // The bitmap is 8-bit RGBA with premultiplied alpha last, rows top to bottom; its rows
        // may be padded.
        const auto* data = reinterpret_cast<const char*>(bitmap.bitmapData);
        const auto rowBytes = static_cast<qsizetype>(bitmap.bytesPerRow);
        QByteArray pixels;
        pixels.reserve(qsizetype(pixelSize) * pixelSize * 4);
        for (int row = 0; row < pixelSize; ++row) {
            pixels.append(data + row * rowBytes, qsizetype(pixelSize) * 4);
        }
        return pixels;
    }
}
