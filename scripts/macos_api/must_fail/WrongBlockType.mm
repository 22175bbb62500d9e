// Must be rejected: cannot initialize a parameter of type 'void (^
#import <AVFoundation/AVFoundation.h>

void ask() {
    [AVCaptureDevice requestAccessForMediaType:AVMediaTypeAudio
                             completionHandler:^(NSError* error) {
                               (void)error;
                             }];
}
