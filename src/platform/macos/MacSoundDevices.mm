#include "platform/macos/MacSources.h"
#import "platform/macos/MacSupport.h"

#import <AVFoundation/AVFoundation.h>
#import <CoreGraphics/CoreGraphics.h>
#include <array>

namespace quillet {
namespace {

constexpr uint32_t kMostDisplays = 32;

/// System audio is captured with a display, and every display brings all of it. Listing them needs no permission.
class MacSoundDevices final : public SoundDevices {
public:
    Result<std::vector<SoundDevice>> list() override {
        std::vector<SoundDevice> devices;
        std::array<CGDirectDisplayID, kMostDisplays> displays{};
        uint32_t count = 0;
        if (CGGetActiveDisplayList(kMostDisplays, displays.data(), &count) != kCGErrorSuccess) count = 0;
        for (uint32_t i = 0; i < count; ++i) {
            devices.push_back({.kind = SoundDevice::Kind::Output,
                               .name = QString::number(displays[i]),
                               .description = QStringLiteral("Everything this Mac plays (display %1)").arg(i + 1),
                               .isDefault = displays[i] == CGMainDisplayID()});
        }
        AVCaptureDevice* const standard = [AVCaptureDevice defaultDeviceWithMediaType:AVMediaTypeAudio];
        AVCaptureDeviceDiscoverySession* const found = [AVCaptureDeviceDiscoverySession
            discoverySessionWithDeviceTypes:@[ AVCaptureDeviceTypeMicrophone, AVCaptureDeviceTypeExternal ]
                                  mediaType:AVMediaTypeAudio
                                   position:AVCaptureDevicePositionUnspecified];
        for (AVCaptureDevice* device in found.devices) {
            devices.push_back({.kind = SoundDevice::Kind::Input,
                               .name = fromNSString(device.uniqueID),
                               .description = fromNSString(device.localizedName),
                               .isDefault = [device.uniqueID isEqualToString:standard.uniqueID] == YES});
        }
        return devices;
    }
};

} // namespace

std::shared_ptr<SoundDevices> makeMacSoundDevices() { return std::make_shared<MacSoundDevices>(); }

} // namespace quillet
