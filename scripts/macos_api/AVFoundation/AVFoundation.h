#pragma once

#include <CoreAudioTypes/CoreAudioTypes.h>
#include <CoreMedia/CoreMedia.h>
#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NSString* AVMediaType;
QUILLET_API AVMediaType const AVMediaTypeAudio;
typedef NSString* AVFileType;
QUILLET_API AVFileType const AVFileTypeAppleM4A;

QUILLET_API NSString* const AVFormatIDKey;
QUILLET_API NSString* const AVSampleRateKey;
QUILLET_API NSString* const AVNumberOfChannelsKey;
QUILLET_API NSString* const AVEncoderBitRateKey;
QUILLET_API NSString* const AVLinearPCMBitDepthKey;
QUILLET_API NSString* const AVLinearPCMIsFloatKey;
QUILLET_API NSString* const AVLinearPCMIsBigEndianKey;
QUILLET_API NSString* const AVLinearPCMIsNonInterleaved;

// Capture.

typedef NS_ENUM(NSInteger, AVAuthorizationStatus) {
    AVAuthorizationStatusNotDetermined = 0,
    AVAuthorizationStatusRestricted = 1,
    AVAuthorizationStatusDenied = 2,
    AVAuthorizationStatusAuthorized = 3,
};

@interface AVCaptureDevice : NSObject
+ (nullable AVCaptureDevice*)defaultDeviceWithMediaType:(AVMediaType)mediaType;
+ (nullable AVCaptureDevice*)deviceWithUniqueID:(NSString*)deviceUniqueID;
+ (AVAuthorizationStatus)authorizationStatusForMediaType:(AVMediaType)mediaType;
+ (void)requestAccessForMediaType:(AVMediaType)mediaType completionHandler:(void (^)(BOOL granted))handler;
@property(nonatomic, readonly) NSString* uniqueID;
@property(nonatomic, readonly) NSString* localizedName;
@property(nonatomic, readonly, getter=isConnected) BOOL connected;
@end

typedef NSString* AVCaptureDeviceType;
QUILLET_API AVCaptureDeviceType const AVCaptureDeviceTypeMicrophone;
QUILLET_API AVCaptureDeviceType const AVCaptureDeviceTypeExternal;
typedef NS_ENUM(NSInteger, AVCaptureDevicePosition) { AVCaptureDevicePositionUnspecified = 0 };
@interface AVCaptureDeviceDiscoverySession : NSObject
+ (instancetype)discoverySessionWithDeviceTypes:(NSArray<AVCaptureDeviceType>*)deviceTypes
                                      mediaType:(nullable AVMediaType)mediaType
                                       position:(AVCaptureDevicePosition)position;
@property(nonatomic, readonly) NSArray<AVCaptureDevice*>* devices;
@end

QUILLET_API NSNotificationName const AVCaptureDeviceWasConnectedNotification;
QUILLET_API NSNotificationName const AVCaptureDeviceWasDisconnectedNotification;
QUILLET_API NSNotificationName const AVCaptureSessionRuntimeErrorNotification;

@interface AVCaptureInput : NSObject
@end
@interface AVCaptureDeviceInput : AVCaptureInput
+ (nullable instancetype)deviceInputWithDevice:(AVCaptureDevice*)device error:(NSError* _Nullable* _Nullable)outError;
@property(nonatomic, readonly) AVCaptureDevice* device;
@end
@interface AVCaptureOutput : NSObject
@end
@interface AVCaptureConnection : NSObject
@end

@protocol AVCaptureAudioDataOutputSampleBufferDelegate <NSObject>
@optional
- (void)captureOutput:(AVCaptureOutput*)output
    didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer
           fromConnection:(AVCaptureConnection*)connection;
@end
@interface AVCaptureAudioDataOutput : AVCaptureOutput
- (void)setSampleBufferDelegate:(nullable id<AVCaptureAudioDataOutputSampleBufferDelegate>)sampleBufferDelegate
                          queue:(nullable dispatch_queue_t)sampleBufferCallbackQueue;
@property(nonatomic, copy, null_resettable) NSDictionary<NSString*, id>* audioSettings;
@end

typedef NSString* AVCaptureSessionPreset;
QUILLET_API AVCaptureSessionPreset const AVCaptureSessionPresetHigh;
@interface AVCaptureSession : NSObject
@property(nonatomic, copy) AVCaptureSessionPreset sessionPreset;
@property(nonatomic, readonly, getter=isRunning) BOOL running;
@property(nonatomic, readonly, nullable) CMClockRef synchronizationClock;
- (BOOL)canAddInput:(AVCaptureInput*)input;
- (void)addInput:(AVCaptureInput*)input;
- (void)removeInput:(AVCaptureInput*)input;
- (BOOL)canAddOutput:(AVCaptureOutput*)output;
- (void)addOutput:(AVCaptureOutput*)output;
- (void)beginConfiguration;
- (void)commitConfiguration;
- (void)startRunning;
- (void)stopRunning;
@end

// Writing.

typedef NS_ENUM(NSInteger, AVAssetWriterStatus) {
    AVAssetWriterStatusUnknown = 0,
    AVAssetWriterStatusWriting = 1,
    AVAssetWriterStatusCompleted = 2,
    AVAssetWriterStatusFailed = 3,
    AVAssetWriterStatusCancelled = 4,
};
@interface AVAssetWriterInput : NSObject
- (instancetype)initWithMediaType:(AVMediaType)mediaType
                   outputSettings:(nullable NSDictionary<NSString*, id>*)outputSettings;
@property(nonatomic) BOOL expectsMediaDataInRealTime;
@property(nonatomic, readonly, getter=isReadyForMoreMediaData) BOOL readyForMoreMediaData;
- (BOOL)appendSampleBuffer:(CMSampleBufferRef)sampleBuffer;
- (void)markAsFinished;
@end
@interface AVAssetWriter : NSObject
- (nullable instancetype)initWithURL:(NSURL*)outputURL
                            fileType:(AVFileType)outputFileType
                               error:(NSError* _Nullable* _Nullable)outError;
@property(readonly) AVAssetWriterStatus status;
@property(readonly, nullable) NSError* error;
@property(nonatomic) CMTime movieFragmentInterval;
@property(nonatomic) CMTime initialMovieFragmentInterval;
- (BOOL)canAddInput:(AVAssetWriterInput*)input;
- (void)addInput:(AVAssetWriterInput*)input;
- (BOOL)startWriting;
- (void)startSessionAtSourceTime:(CMTime)startTime;
- (void)cancelWriting;
- (void)finishWritingWithCompletionHandler:(void (^)(void))handler;
@end

// Reading.

@interface AVAssetTrack : NSObject
@property(nonatomic, readonly) NSArray* formatDescriptions;
@end
@interface AVAsset : NSObject
- (void)loadTracksWithMediaType:(AVMediaType)mediaType
              completionHandler:
                  (void (^)(NSArray<AVAssetTrack*>* _Nullable tracks, NSError* _Nullable error))completionHandler;
@end
@interface AVURLAsset : AVAsset
+ (instancetype)URLAssetWithURL:(NSURL*)URL options:(nullable NSDictionary<NSString*, id>*)options;
@end
@interface AVAssetReaderOutput : NSObject
@property(nonatomic) BOOL alwaysCopiesSampleData;
- (nullable CMSampleBufferRef)copyNextSampleBuffer CF_RETURNS_RETAINED;
@end
@interface AVAssetReaderTrackOutput : AVAssetReaderOutput
+ (instancetype)assetReaderTrackOutputWithTrack:(AVAssetTrack*)track
                                 outputSettings:(nullable NSDictionary<NSString*, id>*)outputSettings;
@end
@interface AVAssetReader : NSObject
+ (nullable instancetype)assetReaderWithAsset:(AVAsset*)asset error:(NSError* _Nullable* _Nullable)outError;
@property(readonly, nullable) NSError* error;
- (BOOL)canAddOutput:(AVAssetReaderOutput*)output;
- (void)addOutput:(AVAssetReaderOutput*)output;
- (BOOL)startReading;
- (void)cancelReading;
@end

NS_ASSUME_NONNULL_END
