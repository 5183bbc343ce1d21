// Stand-in for type-checking only: Cocoa is Foundation plus AppKit.
#ifndef MOVARO_STAND_IN_COCOA_H_
#define MOVARO_STAND_IN_COCOA_H_

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#endif  // MOVARO_STAND_IN_COCOA_H_
