#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <CoreMedia/CoreMedia.h>
#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@class SCStream;

@interface SCRunningApplication : NSObject
@end
@interface SCWindow : NSObject
@end
@interface SCDisplay : NSObject
@property(readonly) CGDirectDisplayID displayID;
@end

@interface SCShareableContent : NSObject
+ (void)getShareableContentExcludingDesktopWindows:(BOOL)excludeDesktopWindows
                               onScreenWindowsOnly:(BOOL)onScreenWindowsOnly
                                 completionHandler:(void (^)(SCShareableContent* _Nullable shareableContent,
                                                             NSError* _Nullable error))completionHandler;
@property(readonly) NSArray<SCDisplay*>* displays;
@end

@interface SCContentFilter : NSObject
- (instancetype)initWithDisplay:(SCDisplay*)display
          excludingApplications:(NSArray<SCRunningApplication*>*)applications
               exceptingWindows:(NSArray<SCWindow*>*)exceptingWindows;
@end

@interface SCStreamConfiguration : NSObject
@property(assign) BOOL capturesAudio;
@property(assign) BOOL excludesCurrentProcessAudio;
@property(assign) NSInteger sampleRate;
@property(assign) NSInteger channelCount;
@end

typedef NS_ENUM(NSInteger, SCStreamOutputType) {
    SCStreamOutputTypeScreen,
    SCStreamOutputTypeAudio,
    SCStreamOutputTypeMicrophone
};

@protocol SCStreamOutput <NSObject>
@optional
- (void)stream:(SCStream*)stream didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer ofType:(SCStreamOutputType)type;
@end

@protocol SCStreamDelegate <NSObject>
@end

@interface SCStream : NSObject
- (instancetype)initWithFilter:(SCContentFilter*)contentFilter
                 configuration:(SCStreamConfiguration*)streamConfig
                      delegate:(nullable id<SCStreamDelegate>)delegate;
- (BOOL)addStreamOutput:(id<SCStreamOutput>)output
                   type:(SCStreamOutputType)type
     sampleHandlerQueue:(nullable dispatch_queue_t)sampleHandlerQueue
                  error:(NSError* _Nullable* _Nullable)error;
- (void)startCaptureWithCompletionHandler:(nullable void (^)(NSError* _Nullable error))completionHandler;
- (void)stopCaptureWithCompletionHandler:(nullable void (^)(NSError* _Nullable error))completionHandler;
@end

NS_ASSUME_NONNULL_END
