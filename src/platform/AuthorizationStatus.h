#pragma once

namespace quillet {

/// What the system lets this program do with the microphone. Restricted: a policy forbids it, not the user.
enum class AuthorizationStatus { NotDetermined, Restricted, Denied, Authorized };

} // namespace quillet
