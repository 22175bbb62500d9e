#include "cli/Worker.h"

#include "support/MainThread.h"

#include <QCoreApplication>

#include <thread>

namespace quillet::cli {

int runOnWorker(const std::function<int()>& work) {
    std::thread worker([&work] {
        const int status = work();
        MainThread::post([status] { QCoreApplication::exit(status); });
    });
    const int status = QCoreApplication::exec();
    worker.join();
    return status;
}

} // namespace quillet::cli
