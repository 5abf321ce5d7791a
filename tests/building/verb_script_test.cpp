#include "building/verb_script.h"

#include <gtest/gtest.h>

#include "foundation/text.h"
#include "support/test_machine.h"

namespace morvane::verb_script {
namespace {

using Names = std::vector<std::string>;

Names linesOf(const std::vector<Download>& downloads) {
    Names lines;
    for (const auto& [folder, file, link, sum] : downloads)
        lines.push_back(MVString::joined({folder, file, link, sum}, "|"));
    return lines;
}

class VerbScript : public testing::TestMachine {
  protected:
    VerbScript() { machine->sites.sourceForge = "http://forge/"; }

    /// What is visited from the component on, in order: "component=file", "helper()", "component".
    static Names visited(const std::string& script, const std::string& component) {
        Names names;
        std::set<std::string> seen;
        Visitor visitor;
        visitor.catalogueFile = [&](const auto& name, const auto& file) {
            names.push_back(name + "=" + file);
        };
        visitor.helper = [&](const auto& name, const auto&) { names.push_back(name + "()"); };
        visitor.component = [&](const auto& name, const auto&) { names.push_back(name); };
        visit(script, component, seen, visitor);
        return names;
    }
};

TEST_F(VerbScript, ReadsEveryShapeOfADownloadLine) {
    const std::pair<const char*, Names> ordinary[] = {
        {"    w_download http://a/x/One.EXE aaaa\n", {"v|One.EXE|http://a/x/One.EXE|aaaa"}},
        {"w_download $WINETRICKS_SOURCEFORGE/p/two.zip bbbb trailing\n",
         {"v|two.zip|http://forge/p/two.zip|bbbb"}},
        {"w_download \\\n    \"$WINETRICKS_SOURCEFORGE/p/3.zip\" \\\n\t\tcccc\nnext line\n",
         {"v|3.zip|http://forge/p/3.zip|cccc"}},
        {"w_download 'ftp://a/4' \"d d\" e\nw_download\t\t\nw_download \n", {"v|4|ftp://a/4|d d"}},
        {"#w_download http://a/no\n # w_download http://a/yes?q=1", {"v|yes?q=1|http://a/yes?q=1|"}},
        {"w_download_to f http://a/no\nw_download_manual http://a/no no\n", {}},
    };
    for (const auto& [text, expected] : ordinary)
        EXPECT_EQ(linesOf(ordinaryDownloads(text, "v")), expected) << text;
    const std::pair<const char*, Names> manual[] = {
        {" http://a/p file.exe aaaa\nw_download_manual x y z\n", {"v|file.exe|http://a/p|aaaa"}},
        {" \"http://a/p\" \\\n\t\"a file\"   aaaa bbbb\n", {"v|a file|http://a/p|aaaa"}},
        {" http://a/p \"a.exe\"\n", {"v|a.exe|http://a/p|"}},
        {" http://a/p \"unclosed\n", {"v|unclosed|http://a/p|"}},
        {" http://a/p\n", {}},
    };
    for (const auto& [text, expected] : manual) {
        const auto download = manualDownload(std::string("w_download_manual") + text, "v");
        EXPECT_EQ(linesOf({download.value_or(Download())}), expected.empty() ? Names{"|||"} : expected)
            << text;
    }
    EXPECT_EQ(linesOf(helperDownloads("w_download_to a/b  \\\n http://a/x aaaa y\n"
                                      "w_download_to c \"http://a/y\" bbbb\nw_download_to d\n")),
              (Names{"a/b|x|http://a/x|aaaa", "c|y|http://a/y|bbbb"}));
}

// With one look at the whole script for each name, or a call inside a call, this would not end.
TEST_F(VerbScript, EndsForLongChainsAndLongLines) {
    constexpr int length = 50'000;
    std::string script = "\nw_metadata start dlls\n helper_0\n w_call v0\n";
    for (int i = 0; i < length; ++i) {
        const std::string number = std::to_string(i), next = std::to_string((i + 1) % length);
        script += "helper_" + number + "()\n{\n    helper_" + next + "\n}\nw_metadata v" + number +
                  " dlls\n    w_call v" + next + "\n";
    }
    const Names chain = visited(script, "start");
    ASSERT_EQ(chain.size(), 2U * length + 1);
    EXPECT_EQ(chain[1], "helper_49999()");
    std::string noise;
    for (int i = 0; i < length; ++i) noise += "w_download \\\n    \"\t";
    EXPECT_EQ(ordinaryDownloads(noise, "start").size(), std::size_t{length});
}

TEST_F(VerbScript, ReadsRequests) {
    // The last is the component, or the words of an engine change; empty when the request does not apply.
    const std::tuple<std::string, std::optional<std::string>, std::string> rows[] = {
        {"d3dx9 | VC:NVIDIA", "Intel HD", ""},
        {"d3dx9 | VC:NVIDIA", std::nullopt, ""},
        {"d3dx9 | VC:NVIDIA,VC:ATi/AMD | VC:ATi/AMD", "ATi/AMD", "d3dx9"},
        {"d3dx9 | VC:ATi/AMD | VC:NVIDIA", "NVIDIA", ""},
        {"d3dx9 | a remark", "NVIDIA", "d3dx9"},
        {"VC:NVIDIA", "Intel HD", "VC:NVIDIA"},
        {"Change Engine: CK9 \"http://a\" | VC:Intel", "Intel", "CK9+\"http://a\""},
    };
    for (const auto& [entry, card, expected] : rows) {
        const Request request = requestOf(entry, card);
        const bool changesEngine = request.kind == Request::Kind::engine;
        const std::string read = changesEngine ? MVString::joined(request.words, "+") : request.name;
        EXPECT_EQ(request.applies ? read : "", expected) << entry;
    }
}

}  // namespace
}  // namespace morvane::verb_script
