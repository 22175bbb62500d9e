#include "platform/Process.h"

#include "support/WaitFor.h"

#include <QCoreApplication>
#include <QEvent>

#include <gtest/gtest.h>

#include <csignal>

namespace quillet::test {
namespace {

TEST(TerminationRequestsTest, whoeverAsksTheHandlerDecides) {
    std::signal(SIGHUP, SIG_DFL); // whatever the tests were started under
    int asked = 0;
    const TerminationRequests requests([&asked] { ++asked; });
    const struct {
        const char* name;
        std::function<void()> ask;
    } rows[] = {{"Ctrl-C", [] { raise(SIGINT); }},
                {"termination", [] { raise(SIGTERM); }},
                {"the end of the terminal", [] { raise(SIGHUP); }},
                {"the session's manager", [] {
                     QEvent quit(QEvent::Quit);
                     QCoreApplication::sendEvent(QCoreApplication::instance(), &quit);
                 }}};
    int expected = 0;
    for (const auto& row : rows) {
        row.ask();
        ++expected;
        EXPECT_TRUE(waitFor([&] { return asked == expected; })) << row.name;
    }
}

} // namespace
} // namespace quillet::test
