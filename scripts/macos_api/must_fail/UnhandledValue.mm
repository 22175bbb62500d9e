// Must be rejected: enumeration value 'SMAppServiceStatusNotFound' not handled in switch
#import <ServiceManagement/ServiceManagement.h>

int describe(SMAppServiceStatus status) {
    switch (status) {
    case SMAppServiceStatusNotRegistered:
    case SMAppServiceStatusRequiresApproval:
        return 0;
    case SMAppServiceStatusEnabled:
        return 1;
    }
    return 2;
}
