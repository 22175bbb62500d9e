// Must be rejected: to parameter of type 'id<AVCaptureAudioDataOutputSampleBufferDelegate>
#import <AVFoundation/AVFoundation.h>

@interface Listener : NSObject
@end
@implementation Listener
@end

void listen(AVCaptureAudioDataOutput* output, dispatch_queue_t queue) {
    [output setSampleBufferDelegate:[[Listener alloc] init] queue:queue];
}
