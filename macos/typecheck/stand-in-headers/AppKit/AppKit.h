// Stand-in for type-checking only: the NSWorkspace part of AppKit
// (NSWorkspace.h of the macOS SDK) and the NSView class name.
#ifndef MOVARO_STAND_IN_APPKIT_H_
#define MOVARO_STAND_IN_APPKIT_H_

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSView : NSObject
@end

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
- (BOOL)openURL:(NSURL*)url;
@end

NS_ASSUME_NONNULL_END

#endif  // MOVARO_STAND_IN_APPKIT_H_
