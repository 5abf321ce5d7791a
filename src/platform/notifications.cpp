#include "platform/notifications.h"

#include <set>
#include <utility>
#include <vector>

#include "platform/annotations.h"
#include "platform/cancellation.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/host.h"
#include "platform/pictures.h"
#include "platform/process.h"

namespace morvane {
namespace {

bool hasSessionBus() {
    if (!environmentVariable("DBUS_SESSION_BUS_ADDRESS").empty()) return true;
    const std::string runtime = environmentVariable("XDG_RUNTIME_DIR");
    return !runtime.empty() && files::kindOf(runtime + "/bus") != files::Kind::none;
}

/// The body of a notification is markup; names of games are not.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            default:
                result += character;
        }
    }
    return result;
}

/// The picture in a file for the service, which reads it when it likes: one of the session, which the next
/// replaces. Empty when there is none.
std::string fileOf(const std::optional<ImageData>& image) {
    constexpr int edge = 128;
    const std::string folder = environmentVariable("XDG_RUNTIME_DIR");
    const auto picture = image && !folder.empty() ? pictures::decode(image->bytes) : std::nullopt;
    if (!picture) return "";
    const std::string path = folder + "/morvane-notification.png";
    const std::string png = pictures::encodePng(pictures::scaledToWidth(*picture, edge));
    return files::write(path, png, files::Atomically::yes) ? path : "";
}

std::vector<std::string> argumentsFor(const Notification& notification, bool withAction) {
    std::vector<std::string> arguments{"--app-name=Morvane", "--icon=app.morvane.Morvane",
                                       "--hint=string:desktop-entry:app.morvane.Morvane"};
    if (const std::string picture = fileOf(notification.image); !picture.empty()) {
        arguments.push_back("--hint=string:image-path:" + picture);
    }
    if (withAction) {
        // "default" is the notification itself.
        for (const char* name : {"default", "action"}) {
            arguments.push_back(std::string("--action=") + name + "=" + notification.actionTitle);
        }
    }
    arguments.insert(arguments.end(), {"--", notification.title, escaped(notification.message)});
    return arguments;
}

}  // namespace

/// The programs that wait for a click.
struct NotificationService::Waiting {
    Mutex mutex;
    Activated activated MV_GUARDED_BY(mutex);
    std::set<Cancellation*> runs MV_GUARDED_BY(mutex);

    /// What the program prints when it ends: the action's name, or nothing.
    std::string run(const ProcessRequest& program) {
        Cancellation ownRun;
        {
            MutexLock lock(mutex);
            if (!activated || !ownRun.begin()) return "";
            runs.insert(&ownRun);
        }
        ProcessRequest request = program;
        request.cancellation = &ownRun;
        std::string output;
        try {
            if (auto result = processes::run(request)) output = std::move(result->output);
        } catch (const Cancelled&) {
        }
        MutexLock lock(mutex);
        runs.erase(&ownRun);
        return output;
    }
};

NotificationService::NotificationService(Activated activated) : waiting_(std::make_shared<Waiting>()) {
    MutexLock lock(waiting_->mutex);
    waiting_->activated = std::move(activated);
}

NotificationService::~NotificationService() {
    MutexLock lock(waiting_->mutex);
    waiting_->activated = {};
    for (Cancellation* run : waiting_->runs) run->request();
}

void NotificationService::show(const Notification& notification) {
    const auto programs = processes::search("notify-send", host().searchPath);
    if (programs.empty() || !hasSessionBus()) return;
    bool waits = false;
    {
        MutexLock lock(waiting_->mutex);
        waits = waiting_->activated && !notification.actionTitle.empty();
    }
    const ProcessRequest program{.program = programs.back(), .arguments = argumentsFor(notification, waits)};
    if (!waits) {
        static_cast<void>(processes::launch(program.program, program.arguments));
        return;
    }
    host().workQueues.start("app.morvane.notification", Priority::low,
                            [waiting = waiting_, program, info = notification.info] {
                                const std::string action = waiting->run(program);
                                if (action.empty()) return;
                                host().mainQueue.post([waiting, info] {
                                    Activated activated;
                                    {
                                        MutexLock lock(waiting->mutex);
                                        activated = waiting->activated;
                                    }
                                    if (activated) activated(info);
                                });
                            });
}

}  // namespace morvane
