#include "cli/commands.h"
#include "cli/table.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/json.h"
#include "platform/signatures.h"
#include "ports/port_data.h"
#include "ports/port_description.h"
#include "ports/recipe_signature.h"
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

int signCki(Session& session, const std::string& file, const std::string& keyFile) {
    const std::string path = expandedPath(file);
    const auto port = NSUtilities::loadArchivedObjectFromFile(path, "CKI");
    if (!port) return session.fail(port.error());
    const std::string ownKey = host().folders.home + "/Library/Application Support/Morvane/author-key.pem";
    const std::string place = keyFile.empty() ? ownKey : expandedPath(keyFile);
    // A key that was named is not made: a wrong name would give a key that nobody knows.
    const bool isNew = keyFile.empty() && files::kindOf(place) == files::Kind::none;
    const auto key = isNew ? signatures::PrivateKey::make(place) : signatures::PrivateKey::read(place);
    if (!key) return session.fail(key.error());
    if (isNew)
        session.console().say(
            localized("Your key is %@. Keep a copy of it, and keep it to yourself.", {place}));
    const auto bytes = recipe_signature::signedArchive(*key, *port->as<Dictionary>());
    if (!bytes) return session.fail(bytes.error());
    if (const auto written = files::write(path, *bytes, files::Atomically::yes); !written)
        return session.fail(written.error());
    return verifyCki(session, file, signatures::hex(key->publicKey()));
}

int verifyCki(Session& session, const std::string& file, const std::string& author) {
    const std::string path = expandedPath(file);
    const auto port = NSUtilities::loadArchivedObjectFromFile(path, "CKI");
    if (!port) return session.fail(port.error());
    using recipe_signature::State;
    const auto signature = recipe_signature::signatureOf(*port->as<Dictionary>());
    if (signature.state == State::none) return session.fail(localized("Nobody has signed %@.", {path}));
    if (signature.state == State::invalid)
        return session.fail(localized(
            "The signature of %@ does not fit: the file was changed after it was signed, or by somebody else.",
            {path}));
    if (!author.empty() && MVString::lowercased(author) != signature.key)
        return session.fail(
            localized("%@ is signed by somebody else, with the key %@.", {path, signature.key}));
    printRecord(session.console(), {{{"author-key", marked("Signed with the key")}, signature.key}});
    return done;
}

}  // namespace morvane::cli
