// Must be rejected: no visible @interface for 'AVCaptureSession' declares the selector 'canAddInputs:'
#import <AVFoundation/AVFoundation.h>

BOOL canAdd(AVCaptureSession* session, AVCaptureInput* input) { return [session canAddInputs:input]; }
