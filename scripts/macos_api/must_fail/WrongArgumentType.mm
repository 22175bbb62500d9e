// Must be rejected: cannot initialize a parameter of type 'AVCaptureOutput *
#import <AVFoundation/AVFoundation.h>

BOOL canAdd(AVCaptureSession* session, AVCaptureInput* input) { return [session canAddOutput:input]; }
