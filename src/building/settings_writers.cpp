#include "building/settings_writers.h"

// The writers of a wrapper's plain files.

#include "building/build.h"
#include "foundation/file_manager.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "platform/host.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

/// A strings file reads backslashes, quotes and line breaks inside its quotes only when they are escaped.
std::string inStringsFile(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '\\':
                escaped += "\\\\";
                break;
            case '"':
                escaped += "\\\"";
                break;
            case '\n':
                escaped += "\\n";
                break;
            case '\r':
                escaped += "\\r";
                break;
            case '\0':
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

}  // namespace

bool saveCloseSafely(bool closeSafely, const Wrapper& wrapper) {
    static constexpr std::string_view choice = "caskeryAppChoice=";
    const std::string path = wrapper.quitScript();
    auto script = MVString::stringWithContentsOfFile(path, Encoding::utf8);
    if (!script) return true;
    const std::size_t found = script->find(choice);
    if (found == std::string::npos || found + choice.size() == script->size()) return true;
    (*script)[found + choice.size()] = closeSafely ? '2' : '1';
    MVString::writeToFile(*script, path, files::Atomically::yes, Encoding::utf8);
    return true;
}

bool saveCompany(const std::optional<std::string>& company, const Wrapper& wrapper) {
    const std::string path = wrapper.infoStrings();
    if (!company || company->empty()) {
        MVFileManager::removeItemAtPath(path);
        return true;
    }
    MVString::writeToFile("NSHumanReadableCopyright=\"" + inStringsFile(*company) + "\";", path,
                          files::Atomically::yes, Encoding::utf8);
    return true;
}

}  // namespace morvane
