#pragma once

#include "support/HttpService.h"

namespace quillet::test {

/// Joplin's service, or worse.
class FakeService : public HttpService {
public:
    using HttpService::HttpService;

    static constexpr const char* kToken = "s3cret/token+of=Joplin&";

    /// What Joplin with no notes and one folder, "Work", says to a user of the token.
    static Answer asJoplin(const Request& request);
    /// The same, where a look at an open request to be let in brings what the test says.
    static Script asking(std::function<Answer()> look);
};

} // namespace quillet::test
