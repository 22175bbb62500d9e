#pragma once

#include <CoreAudioTypes/CoreAudioTypes.h>
#include <CoreFoundation/CoreFoundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef uint32_t CMTimeFlags;
enum : CMTimeFlags {
    kCMTimeFlags_Valid = 1U << 0,
    kCMTimeFlags_ImpliedValueFlagsMask = (1U << 2) | (1U << 3) | (1U << 4),
};
typedef struct {
    int64_t value;
    int32_t timescale;
    CMTimeFlags flags;
    int64_t epoch;
} CMTime;
QUILLET_API const CMTime kCMTimeInvalid;
QUILLET_API CMTime CMTimeMake(int64_t value, int32_t timescale);
#define CMTIME_IS_NUMERIC(time)                                                                                        \
    ((Boolean)(((time).flags & (kCMTimeFlags_Valid | kCMTimeFlags_ImpliedValueFlagsMask)) == kCMTimeFlags_Valid))

typedef struct __attribute__((objc_bridge(id))) OpaqueCMClock* CMClockRef;
typedef CFTypeRef CMClockOrTimebaseRef;
QUILLET_API CMClockRef CMClockGetHostTimeClock(void);
QUILLET_API CMTime CMSyncConvertTime(CMTime time, CMClockOrTimebaseRef fromClockOrTimebase,
                                     CMClockOrTimebaseRef toClockOrTimebase);

typedef long CMItemCount;
typedef const struct __attribute__((objc_bridge(id))) opaqueCMFormatDescription* CMFormatDescriptionRef;
typedef CMFormatDescriptionRef CMAudioFormatDescriptionRef;
typedef struct __attribute__((objc_bridge(id))) OpaqueCMBlockBuffer* CMBlockBufferRef;
typedef struct __attribute__((objc_bridge(id))) opaqueCMSampleBuffer* CMSampleBufferRef;
typedef struct {
    CMTime duration;
    CMTime presentationTimeStamp;
    CMTime decodeTimeStamp;
} CMSampleTimingInfo;
typedef OSStatus (*CMSampleBufferMakeDataReadyCallback)(CMSampleBufferRef buffer, void* _Nullable context);
typedef struct CMBlockBufferCustomBlockSource CMBlockBufferCustomBlockSource;

QUILLET_API OSStatus CMAudioFormatDescriptionCreate(CFAllocatorRef _Nullable allocator,
                                                    const AudioStreamBasicDescription* description, size_t layoutSize,
                                                    const struct AudioChannelLayout* _Nullable layout,
                                                    size_t magicCookieSize, const void* _Nullable magicCookie,
                                                    CFDictionaryRef _Nullable extensions,
                                                    CMAudioFormatDescriptionRef _Nullable* _Nonnull
                                                    __attribute__((cf_returns_retained)) formatDescriptionOut);
QUILLET_API const AudioStreamBasicDescription* _Nullable CMAudioFormatDescriptionGetStreamBasicDescription(
    CMAudioFormatDescriptionRef description);

typedef uint32_t CMBlockBufferFlags;
enum : CMBlockBufferFlags { kCMBlockBufferAssureMemoryNowFlag = 1U << 0 };
QUILLET_API OSStatus CMBlockBufferCreateWithMemoryBlock(
    CFAllocatorRef _Nullable structureAllocator, void* _Nullable memoryBlock, size_t blockLength,
    CFAllocatorRef _Nullable blockAllocator, const CMBlockBufferCustomBlockSource* _Nullable customBlockSource,
    size_t offsetToData, size_t dataLength, CMBlockBufferFlags flags,
    CMBlockBufferRef _Nullable* _Nonnull __attribute__((cf_returns_retained)) blockBufferOut);
QUILLET_API OSStatus CMBlockBufferReplaceDataBytes(const void* sourceBytes, CMBlockBufferRef destinationBuffer,
                                                   size_t offsetIntoDestination, size_t dataLength);

QUILLET_API OSStatus CMSampleBufferCreate(
    CFAllocatorRef _Nullable allocator, CMBlockBufferRef _Nullable dataBuffer, Boolean dataReady,
    CMSampleBufferMakeDataReadyCallback _Nullable makeDataReadyCallback, void* _Nullable makeDataReadyRefcon,
    CMFormatDescriptionRef _Nullable formatDescription, CMItemCount numSamples, CMItemCount numSampleTimingEntries,
    const CMSampleTimingInfo* _Nullable sampleTimingArray, CMItemCount numSampleSizeEntries,
    const size_t* _Nullable sampleSizeArray,
    CMSampleBufferRef _Nullable* _Nonnull __attribute__((cf_returns_retained)) sampleBufferOut);
QUILLET_API Boolean CMSampleBufferDataIsReady(CMSampleBufferRef buffer);
QUILLET_API CMItemCount CMSampleBufferGetNumSamples(CMSampleBufferRef buffer);
QUILLET_API CMTime CMSampleBufferGetPresentationTimeStamp(CMSampleBufferRef buffer);
QUILLET_API CMFormatDescriptionRef _Nullable CMSampleBufferGetFormatDescription(CMSampleBufferRef buffer);
enum : uint32_t { kCMSampleBufferFlag_AudioBufferList_Assure16ByteAlignment = 1U << 0 };
QUILLET_API OSStatus CMSampleBufferGetAudioBufferListWithRetainedBlockBuffer(
    CMSampleBufferRef buffer, size_t* _Nullable bufferListSizeNeededOut, AudioBufferList* _Nullable bufferListOut,
    size_t bufferListSize, CFAllocatorRef _Nullable blockBufferStructureAllocator,
    CFAllocatorRef _Nullable blockBufferBlockAllocator, uint32_t flags,
    CMBlockBufferRef _Nullable* _Nullable __attribute__((cf_returns_retained)) blockBufferOut);

NS_ASSUME_NONNULL_END
