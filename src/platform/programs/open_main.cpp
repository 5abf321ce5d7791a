// open [-R] [-a APPLICATION] PATH-OR-LINK... [--args ARGUMENT...]: opens each with the desktop's own opener,
// starts application bundles by their executable, shows a path in its folder (-R), or hands all to one
// application (-a).

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/http.h"
#include "platform/process.h"
#include "platform/property_list.h"

namespace {

using namespace morvane;

struct Request {
    std::vector<std::string> items, arguments;
    std::optional<std::string> application;
    bool reveal = false;
};

std::optional<Request> parse(const std::vector<std::string>& words) {
    Request request;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word == "--args") {
            request.arguments.assign(words.begin() + static_cast<std::ptrdiff_t>(i) + 1, words.end());
            break;
        }
        if (word == "-a" && i + 1 < words.size()) {
            request.application = words[++i];
        } else if (word == "-R") {
            request.reveal = true;
        } else if (word == "-n" || word == "-g") {
            // A new instance, in the background: there is no other way here.
        } else if (word.empty() || word.front() == '-') {
            return std::nullopt;
        } else {
            request.items.push_back(word);
        }
    }
    if (request.items.empty() && !request.application) return std::nullopt;
    return request;
}

bool fail(const std::string& message) {
    std::cerr << "open: " << message << '\n';
    return false;
}

bool isBundle(const std::string& path) {
    return files::extension(path) == "app" && files::kindBehind(path) == files::Kind::folder;
}

/// The bundle's main program. Its description comes from outside: the name must not lead out of the bundle.
std::optional<std::string> executableOf(const std::string& bundle) {
    const auto description = property_lists::read(files::join(bundle, "Contents/Info.plist"));
    const auto* values = description ? description->as<Dictionary>() : nullptr;
    const auto* name = values != nullptr ? values->get<std::string>("CFBundleExecutable") : nullptr;
    if (name == nullptr || name->empty() || name->front() == '.') return std::nullopt;
    if (name->find('/') != std::string::npos || name->find('\0') != std::string::npos) return std::nullopt;
    const std::string path = files::join(files::join(bundle, "Contents/MacOS"), *name);
    if (!files::isExecutable(path)) return std::nullopt;
    return path;
}

bool start(const std::string& program, const std::vector<std::string>& arguments) {
    return processes::launch(program, arguments).has_value() ||
           fail("The program " + program + " cannot be started.");
}

bool startBundle(const std::string& bundle, const std::vector<std::string>& arguments) {
    const auto program = executableOf(bundle);
    if (!program) return fail("The application " + bundle + " has no executable.");
    return start(*program, arguments);
}

bool handOn(const std::string& item) {
    const auto openers = processes::search("xdg-open", environmentVariable("PATH"));
    if (openers.empty()) return fail("The desktop's opener is missing (on Debian: the package xdg-utils).");
    return start(openers.front(), {item});
}

/// A relative path becomes absolute, for programs that are started elsewhere.
std::string absolute(const std::string& path) {
    return path.starts_with('/') ? path : files::join(environmentVariable("PWD"), path);
}

bool openWith(const std::string& application, std::vector<std::string> items,
              const std::vector<std::string>& arguments) {
    items.insert(items.end(), arguments.begin(), arguments.end());
    if (application.find('/') != std::string::npos) {
        const std::string path = absolute(application);
        return isBundle(path) ? startBundle(path, items) : start(path, items);
    }
    const std::string name = files::extension(application) == "app" ? application : application + ".app";
    const std::string bundle = files::join(Folders::fromEnvironment().applications, name);
    if (isBundle(bundle)) return startBundle(bundle, items);
    const auto programs = processes::search(application, environmentVariable("PATH"));
    return programs.empty() ? fail("Unable to find the application named " + application + ".")
                            : start(programs.front(), items);
}

bool openItem(const std::string& item, bool reveal, const std::vector<std::string>& arguments) {
    const bool isFile = files::kindOf(absolute(item)) != files::Kind::none;
    if (!isFile && !reveal && item.find(':') != std::string::npos) return handOn(item);
    if (!isFile) return fail("The file " + absolute(item) + " does not exist.");
    if (reveal) return handOn(files::parent(absolute(item)));
    return isBundle(absolute(item)) ? startBundle(absolute(item), arguments) : handOn(absolute(item));
}

}  // namespace

int main(int count, char** words) {
    const auto request = parse({words + 1, words + count});
    if (!request) {
        std::cerr << "usage: open [-R] [-a APPLICATION] PATH-OR-LINK... [--args ARGUMENT...]\n";
        return EXIT_FAILURE;
    }
    if (request->application) {
        return openWith(*request->application, request->items, request->arguments) ? EXIT_SUCCESS
                                                                                   : EXIT_FAILURE;
    }
    bool done = true;
    for (const std::string& item : request->items)
        done = openItem(item, request->reveal, request->arguments) && done;
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
