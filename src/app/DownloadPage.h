#pragma once

namespace quillet {

/// The product's web page for downloads. A placeholder in a domain that nobody can own: the product's owners supply the
/// address, and this is the one place that holds it.
inline constexpr const char* kDownloadPageToBeSuppliedByOwners = "https://quillet.example/download";

} // namespace quillet
