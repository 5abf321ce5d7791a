#include "wrapper/registry.h"

#include "foundation/file_manager.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using namespace NSUtilities;

// As Wine writes it: timestamps after the headers, a modification time as the first line of each block.
constexpr std::string_view userFile = R"(WINE REGISTRY Version 2
;; All keys relative to \\User\\S-1-5-21-0-0-0-1000

[Software\\Wine\\AppDefaults\\a.exe] 1700000000
#time=1da0
"Version"="winxp"

[Software\\Wine\\AppDefaults\\a.exe\\DllOverrides] 1700000000
#time=1da1
"d3d9"="native"
"dinput8"="native,builtin"

[Software\\Wine\\AppDefaults\\b\\c.exe\\DllOverrides]
"msvcr90"="native"

[Software\\Wine\\AppDefaults\\empty.exe\\DllOverrides] 1700000000

[Software\\Wine\\Drivers] 1700000000
#time=1da2
"Graphics"="x11"
"RetinaMode"="Y"
"Note"="[Software\\Wine\\Fonts]"
"After"="kept"

[Software\\Wine\\Fonts] 1700000000
"LogPixels"=dword:00000060
)";

class Registry : public testing::TestMachine {
  protected:
    Registry() { put(user, userFile); }

    const std::string wrapper = home + "/Applications/Game.app";
    const std::string user = wrapper + "/Contents/Resources/user.reg";
};

TEST_F(Registry, ReadsTheValueLinesOfAKey) {
    const std::pair<const char*, const char*> rows[] = {
        {R"([Software\\Wine\\AppDefaults\\a.exe])", "#time=1da0\n\"Version\"=\"winxp\""},
        {R"([Software\\Wine\\AppDefaults\\empty.exe\\DllOverrides])", ""},
        {R"([Software\\Wine\\Missing])", ""},
        {R"([software\\wine\\fonts])", ""},
        // The last key of the file, and not the value of another key that mentions it.
        {R"([Software\\Wine\\Fonts])", "\"LogPixels\"=dword:00000060\n"},
    };
    for (const auto& [header, lines] : rows) EXPECT_EQ(getRegistry(header, "user", wrapper), lines) << header;
    EXPECT_EQ(getRegistry(R"([Software\\Wine\\Fonts])", "system", wrapper), "");
}

TEST_F(Registry, CollectsWholeBlocksByPattern) {
    const std::vector<std::string> found =
        getRegistriesWithGramar(R"([Software\\Wine\\AppDefaults\\*\\DllOverrides])", "user", wrapper);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0],
              "[Software\\\\Wine\\\\AppDefaults\\\\a.exe\\\\DllOverrides] 1700000000\n#time=1da1\n"
              "\"d3d9\"=\"native\"\n\"dinput8\"=\"native,builtin\"");
    EXPECT_EQ(found[1],
              "[Software\\\\Wine\\\\AppDefaults\\\\b\\\\c.exe\\\\DllOverrides]\n\"msvcr90\"=\"native\"");

    put(user, "[A\\\\x\\\\End]\n\"v\"=\"1\"\n\n[A\\\\y\\\\End]\n");
    EXPECT_EQ(getRegistriesWithGramar(R"([A\\*\\End])", "user", wrapper).size(), 1U)
        << "the last has a header only";
}

TEST_F(Registry, DeletesBlocksAndShortensGaps) {
    struct Row {
        const char *name, *before, *after;
    };
    const Row rows[] = {
        {"between two others", "[A]\n\"a\"=\"1\"\n\n[K] 17\n\"k\"=\"1\"\n\n[B]\n",
         "[A]\n\"a\"=\"1\"\n\n[B]\n"},
        {"the last one", "[A]\n\"a\"=\"1\"\n\n\n[K]\n\"k\"=\"1\"\n", "[A]\n\"a\"=\"1\"\n\n"},
        {"every one", "[K]\nx\n\n[A]\n\n[K] 1\ny\n\n[B]\n", "\n\n[A]\n\n[B]\n"},
        {"none, but gaps", "[A]\n\n\n\n\n\n[B]\n\n\n", "[A]\n\n[B]\n\n"},
        {"not a value's data", "[A]\n\"a\"=\"[K]\"\n\"b\"=\"2\"\n\n[B]\n",
         "[A]\n\"a\"=\"[K]\"\n\"b\"=\"2\"\n\n[B]\n"},
        {"not a longer key", "[K\\\\L]\n\"a\"=\"1\"\n\n", "[K\\\\L]\n\"a\"=\"1\"\n\n"},
    };
    for (const Row& row : rows) {
        put(user, row.before);
        deleteRegistry("[K]", "user", wrapper);
        EXPECT_EQ(get(user), row.after) << row.name;
    }
}

TEST_F(Registry, AMissingFileIsMadeByAddingOnly) {
    deleteRegistry("[K]", "system", wrapper);
    const std::string system = getPathForRegistryFile("system", wrapper);
    EXPECT_FALSE(MVFileManager::fileExistsAtPath(system)) << "it would pass for a finished prefix";
    addRegistry("[K]\n\"k\"=\"1\"\n", "system", wrapper);
    EXPECT_EQ(get(system), "\n\n\n[K]\n\"k\"=\"1\"\n");
}

TEST_F(Registry, NoEditTouchesAFileThatCannotBeRead) {
    const std::string damaged = std::string(userFile) + "\n[Caf\xC3\xA9]\n\"a\"=\"b\"\n";
    const char* key = R"([Software\\Wine\\Drivers])";
    const std::function<void()> edits[] = {
        [&] { addRegistry("[K]\n", "user", wrapper); }, [&] { deleteRegistry(key, "user", wrapper); },
        [&] {
            replaceRegistryStrings(key, {{"Graphics", "mac"}}, "user", wrapper);
        },
        [&] { saveUserOverrides({"[K]\n\"a\"=\"b\""}, wrapper); }};
    for (const auto& edit : edits) {
        put(user, damaged);
        ui.expectError("Error while reading file: ");
        edit();
        EXPECT_EQ(get(user), damaged);
    }
}

TEST_F(Registry, AnEditThatCannotBeWrittenLosesNothing) {
    ui.expectError("Error while writting file: ");
    replaceRegistryStrings(R"([Software\\Wine\\Drivers])", {{"Graphics", "caf\xC3\xA9"}}, "user", wrapper);
    ui.expectError("Error while writting file: ");
    EXPECT_TRUE(saveUserOverrides({"[Software\\\\Wine\\\\Drivers]\n\"Graphics\"=\"caf\xC3\xA9\""}, wrapper));
    EXPECT_EQ(get(user), userFile);
}

TEST_F(Registry, ReplacingAValueMovesItsKeyToTheEnd) {
    put(user,
        "WINE REGISTRY Version 2\n\n[K] 17\n#time=1\n\"Managed\"=\"Y\"\n\"x\"=\"1\"\n\n[B] "
        "18\n\"b\"=\"2\"\n");
    replaceRegistryStrings("[K]", {{"Managed", "N"}, {"Decorated", "N"}}, "user", wrapper);
    EXPECT_EQ(get(user),
              "WINE REGISTRY Version 2\n\n[B] 18\n\"b\"=\"2\"\n\n\n\n"
              "[K]\n\"Decorated\"=\"N\"\n#time=1\n\"Managed\"=\"N\"\n\"x\"=\"1\"\n\n");
    replaceRegistryStrings("[New]", {{"a", "1"}}, "user", wrapper);
    EXPECT_TRUE(get(user).ends_with("\"x\"=\"1\"\n\n\n\n\n[New]\n\"a\"=\"1\"\n\n"));
}

TEST_F(Registry, OverridesReplaceTheirKeys) {
    put(user, "[A]\n\"a\"=\"1\"\n\n[B] 18\n\"b\"=\"2\"\n");
    EXPECT_TRUE(saveUserOverrides({"[A]\n\"a\"=\"new\"\n", 7, "[C]\n\"c\"=\"3\""}, wrapper));
    EXPECT_EQ(get(user), "\n\n[B] 18\n\"b\"=\"2\"\n\n[A]\n\"a\"=\"new\"\n\n\n\n[C]\n\"c\"=\"3\"");
}

TEST(RegistryLines, SetOneValue) {
    struct Row {
        const char *name, *before;
        std::optional<std::string> data;
        const char* after;
    };
    const Row rows[] = {
        {"new at the top", "\"a\"=\"1\"\n", "\"2\"", "\"k\"=\"2\"\n\"a\"=\"1\"\n"},
        {"changed in its place", "\"a\"=\"1\"\n\"k\"=\"1\"\n\"b\"=\"1\"\n", "\"\"",
         "\"a\"=\"1\"\n\"k\"=\"\"\n\"b\"=\"1\"\n"},
        {"changed on the last line", "\"k\"=\"1\"", "\"2\"", "\"k\"=\"2\""},
        {"removed", "\"a\"=\"1\"\n\"k\"=\"1\"\n\"b\"=\"1\"", std::nullopt, "\"a\"=\"1\"\n\"b\"=\"1\""},
        {"removed, gaps in one pass", "\n\n\n\n\"k\"=\"1\"", std::nullopt, "\n\n"},
        {"not there to remove", "\"kk\"=\"1\"\n\n", std::nullopt, "\"kk\"=\"1\"\n\n"},
    };
    for (const Row& row : rows) EXPECT_EQ(setOnRegistry(row.before, row.data, "k"), row.after) << row.name;
    EXPECT_EQ(setOnRegistryStringValue("\"k\"=dword:1\n", "v", "k"), "\"k\"=\"v\"\n");
}

}  // namespace
}  // namespace morvane
