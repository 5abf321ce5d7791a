#include "cli/commands.h"
#include "platform/files.h"
#include "platform/json.h"
#include "ports/port_data.h"
#include "ports/port_description.h"
#include "ports/typed_stream.h"

namespace morvane::cli {

int showCki(Session& session, const std::string& file) {
    const std::string path = expandedPath(file);
    if (session.console().output() == Output::json) {
        const auto bytes = files::read(path);
        if (const Failure* failure = failureOf(bytes)) return session.fail(path + ": " + failure->message);
        const auto archive = typed_stream::describe(std::get<std::string>(bytes));
        if (const Failure* failure = failureOf(archive)) return session.fail(path + ": " + failure->message);
        session.console().print(jsonText(std::get<Value>(archive), JsonLayout::indented));
        return done;
    }
    const auto text = port_description::shown(path);
    if (const Failure* failure = failureOf(text)) return session.fail(failure->message);
    session.console().print(std::get<std::string>(text));
    return done;
}

int makeCki(Session& session, const std::string& description, const std::string& out) {
    const auto dictionary = port_description::read(expandedPath(description));
    if (const Failure* failure = failureOf(dictionary)) return session.fail(failure->message);
    const auto bytes = typed_stream::archive(Value(std::get<Dictionary>(dictionary)));
    if (const Failure* failure = failureOf(bytes)) return session.fail(failure->message);
    const std::string path = expandedPath(out);
    const auto error = files::write(path, std::get<std::string>(bytes), files::Atomically::yes);
    return error ? session.fail(path + ": " + *error) : static_cast<int>(done);
}

}  // namespace morvane::cli
