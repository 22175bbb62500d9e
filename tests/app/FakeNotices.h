#pragma once

#include "platform/SleepInhibitor.h"
#include "platform/UserNotices.h"

#include <QStringList>

#include <memory>
#include <string>
#include <vector>

namespace quillet::test {

/// Keeps what the user would have been shown.
struct FakeNotices final : UserNotices {
    std::vector<UserNotice> shown;
    std::vector<std::string> withdrawn;
    void show(const UserNotice& notice) override { shown.push_back(notice); }
    void withdraw(const QString& subject) override { withdrawn.push_back(subject.toStdString()); }
};

struct FakeSleep final : SleepInhibitor {
    struct Counted final : Hold {
        explicit Counted(int& number) : holds(number) { ++holds; }
        ~Counted() override { --holds; }
        int& holds;
    };
    int holds = 0;
    QStringList reasons;
    std::unique_ptr<Hold> hold(const QString& reason) override {
        reasons << reason;
        return std::make_unique<Counted>(holds);
    }
};

} // namespace quillet::test
