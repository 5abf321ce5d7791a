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
        if (!bytes) return session.fail(bytes.error());
        const auto archive = typed_stream::describe(*bytes);
        if (!archive) return session.fail(path + ": " + archive.error().message());
        session.console().print(jsonText(*archive, JsonLayout::indented));
        return done;
    }
    const auto text = port_description::shown(path);
    if (!text) return session.fail(text.error());
    session.console().print(*text);
    return done;
}

int makeCki(Session& session, const std::string& description, const std::string& out) {
    const auto dictionary = port_description::read(expandedPath(description));
    if (!dictionary) return session.fail(dictionary.error());
    const auto bytes = typed_stream::archive(Value(*dictionary));
    if (!bytes) return session.fail(bytes.error());
    const std::string path = expandedPath(out);
    const auto written = files::write(path, *bytes, files::Atomically::yes);
    return written ? static_cast<int>(done) : session.fail(written.error());
}

}  // namespace morvane::cli
