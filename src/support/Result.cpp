#include "support/Result.h"

#include <system_error>

namespace quillet {

PlatformError PlatformError::fromErrno(int errnoValue) {
    return {errnoValue, QString::fromStdString(std::system_category().message(errnoValue))};
}

} // namespace quillet
