#include "views/core_loop.h"

#include <QMessageBox>
#include <exception>

#include "platform/cancellation.h"
#include "platform/host.h"
#include "views/labels.h"
#include "views/qt_text.h"

namespace morvane::views {
namespace {

void tell(const std::exception_ptr& exception) {
    try {
        std::rethrow_exception(exception);
    } catch (const Cancelled&) {
        // Somebody has asked for it.
    } catch (const std::exception& error) {
        host().log.write(Log::Level::warning, std::string("exception: ") + error.what());
        QMessageBox::critical(nullptr, shown("Error"), literal(error.what()));
    }
}

}  // namespace

CoreLoop::CoreLoop() {
    nextTimer_.setSingleShot(true);
    connect(&nextTimer_, &QTimer::timeout, this, &CoreLoop::drain);
    host().mainQueue.setExceptionHandler(tell);
    host().workQueues.setExceptionHandler(
        [](const std::exception_ptr& exception) { host().mainQueue.post([exception] { tell(exception); }); });
    host().mainQueue.setWaker(
        [this] { QMetaObject::invokeMethod(this, &CoreLoop::drain, Qt::QueuedConnection); });
}

CoreLoop::~CoreLoop() {
    host().mainQueue.setWaker({});
    host().mainQueue.close();
}

void CoreLoop::drain() {
    if (const auto next = host().mainQueue.drain()) {
        nextTimer_.start(*next);
    } else {
        nextTimer_.stop();
    }
}

}  // namespace morvane::views
