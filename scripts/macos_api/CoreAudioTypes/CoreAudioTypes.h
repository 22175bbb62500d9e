#pragma once

#include <CoreFoundation/CoreFoundation.h>

typedef uint32_t AudioFormatID;
typedef uint32_t AudioFormatFlags;
enum : AudioFormatID { kAudioFormatLinearPCM = 'lpcm', kAudioFormatMPEG4AAC = 'aac ' };

struct AudioStreamBasicDescription {
    double mSampleRate;
    AudioFormatID mFormatID;
    AudioFormatFlags mFormatFlags;
    uint32_t mBytesPerPacket;
    uint32_t mFramesPerPacket;
    uint32_t mBytesPerFrame;
    uint32_t mChannelsPerFrame;
    uint32_t mBitsPerChannel;
    uint32_t mReserved;
};

struct AudioBuffer {
    uint32_t mNumberChannels;
    uint32_t mDataByteSize;
    void* _Nullable mData;
};
struct AudioBufferList {
    uint32_t mNumberBuffers;
    AudioBuffer mBuffers[1];
};
