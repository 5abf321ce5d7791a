#include "building/verb_script.h"

#include <gtest/gtest.h>

#include "support/test_machine.h"

namespace morvane::verb_script {
namespace {

using Names = std::vector<std::string>;

std::string lineOf(const Download& download) {
    return download.folder + "|" + download.file + "|" + download.link + "|" + download.checksum;
}

class VerbScript : public testing::TestMachine {
  protected:
    VerbScript() { machine->sites.sourceForge = "http://forge/"; }

    /// What is visited from the component on, in order: "file(component)", "helper()", "component".
    static Names visited(const std::string& script, const std::string& component) {
        Names names;
        std::set<std::string> seen;
        const Visitor visitor{
            .catalogueFile = [&](const auto& name,
                                 const auto& file) { names.push_back(file + "(" + name + ")"); },
            .helper = [&](const auto& name, const auto&) { names.push_back(name + "()"); },
            .component = [&](const auto& name, const auto&) { names.push_back(name); }};
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
        {"w_download 'ftp://a/four'\n", {"v|four|ftp://a/four|"}},
        {"w_download http://a/5 \"dd dd\" ee\nw_download\t\t\nw_download \n", {"v|5|http://a/5|dd dd"}},
        {"#w_download http://a/no\n # w_download http://a/yes?q=1", {"v|yes?q=1|http://a/yes?q=1|"}},
        {"w_download_to f http://a/no\nw_download_manual http://a/no no\n", {}},
    };
    for (const auto& [text, expected] : ordinary) {
        Names lines;
        for (const Download& download : ordinaryDownloads(text, "v")) lines.push_back(lineOf(download));
        EXPECT_EQ(lines, expected) << text;
    }
    const std::pair<const char*, const char*> manual[] = {
        {"w_download_manual http://a/p file.exe aaaa\nw_download_manual x y z\n",
         "v|file.exe|http://a/p|aaaa"},
        {"w_download_manual \"http://a/p\" \\\n\t\"a file.exe\"   aaaa bbbb\n",
         "v|a file.exe|http://a/p|aaaa"},
        {"w_download_manual http://a/p \"a.exe\"\n", "v|a.exe|http://a/p|"},
        {"w_download_manual http://a/p \"unclosed\n", "v|unclosed|http://a/p|"},
        {"w_download_manual http://a/p\n", nullptr},
        {"w_download http://a/p file.exe aaaa\n", nullptr},
    };
    for (const auto& [text, expected] : manual) {
        const auto download = manualDownload(text, "v");
        EXPECT_EQ(download ? lineOf(*download) : "none", expected ? expected : "none") << text;
    }
    Names ofHelper;
    for (const Download& download :
         helperDownloads("w_download_to a/b  \\\n http://a/x aaaa y\nw_download_to c \"http://a/y\" "
                         "bbbb\nw_download_to d\n"))
        ofHelper.push_back(lineOf(download));
    EXPECT_EQ(ofHelper, (Names{"a/b|x|http://a/x|aaaa", "c|y|http://a/y|bbbb"}));
    EXPECT_EQ(getFromString("a b c", 4), std::nullopt);
    EXPECT_EQ(getFromString("alone", 2), std::nullopt);
}

TEST_F(VerbScript, VisitsWhatIsCalledBeforeTheCaller) {
    const std::string script =
        "#!/bin/sh\n"
        "helper_inner()\n{\n}\n"
        "helper_outer()\n{\n\thelper_inner 1\n    helper_missing\n}\n"
        "helper_loop() { true\n    helper_loop\n}\n"
        "w_metadata top_too dlls\nload_top_too() { w_call wrong; }\nwinetricks_stats_save()\n w_call wrong\n"
        "w_metadata top dlls \\\n    title=\"Top\"\nload_top()\n{\n    w_call first second\n    w_call $1\n"
        "    w_call \"quoted\"\n    echo \"w_call spoken\n    w_call msxml3\n    w_call undefined\n    "
        "helper_outer x\n"
        "    helper_loop\n    w_call last\n}\n"
        "w_metadata first fonts\n    w_call top\n"
        "w_metadata wrong dlls\nw_metadata second dlls\nw_metadata spoken dlls\nw_metadata quoted dlls\n"
        "w_metadata last dlls\n    helper_inner\nwinetricks_stats_save()\n{ w_call wrong\n";
    EXPECT_EQ(visited(script, "top"), (Names{"first", "msxml3.msi(msxml3)", "helper_inner()", "last",
                                             "helper_outer()", "helper_loop()", "top"}));
    EXPECT_EQ(visited(script, "to"), Names{}) << "the beginning of a name is another name";
    EXPECT_EQ(textOfComponent(script, "second"), " dlls");
    EXPECT_EQ(textOfHelper(script, "helper_outer"), "\n{\n\thelper_inner 1\n    helper_missing\n}");
}

// A hostile script must cost no more than its length: with one look at the whole of it for each name, or a
// call inside a call, this would not end.
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
    EXPECT_EQ(chain.front(), "v49999");
    EXPECT_EQ(chain[1], "helper_49999()");
    std::string noise;
    for (int i = 0; i < length; ++i) noise += "w_download \\\n    \"\t";
    EXPECT_EQ(ordinaryDownloads(noise, "start").size(), std::size_t{length});
}

TEST_F(VerbScript, ReadsRequests) {
    const struct {
        const char* entry;
        std::optional<std::string> card;
        Names expected;  // the component, or the words of an engine change; nothing when it does not apply
    } rows[] = {
        {"vcrun2010", std::nullopt, {"vcrun2010"}},
        {"d3dx9 | VC:NVIDIA", "NVIDIA", {"d3dx9"}},
        {"d3dx9 | VC:NVIDIA", "Intel HD", {}},
        {"d3dx9 | VC:NVIDIA", std::nullopt, {}},
        {"d3dx9 | VC:NVIDIA,VC:ATi/AMD | VC:ATi/AMD", "ATi/AMD", {"d3dx9"}},
        {"d3dx9 | VC:ATi/AMD | VC:NVIDIA", "NVIDIA", {}},
        {"d3dx9 | a remark", "NVIDIA", {"d3dx9"}},
        {"VC:NVIDIA", "Intel HD", {"VC:NVIDIA"}},
        {"Change Engine: CK9 \"http://a\" | VC:Intel", "Intel", {"CK9", "\"http://a\""}},
    };
    for (const auto& row : rows) {
        const Request request = requestOf(row.entry, row.card);
        EXPECT_EQ(request.applies, !row.expected.empty()) << row.entry;
        if (!request.applies) continue;
        EXPECT_EQ(request.name, row.expected.front());
        const bool changesEngine = std::string(row.entry).starts_with("Change Engine: ");
        EXPECT_EQ(request.kind, changesEngine ? Request::Kind::engine : Request::Kind::component);
        EXPECT_EQ(request.words, changesEngine ? row.expected : Names{});
    }
}

}  // namespace
}  // namespace morvane::verb_script
