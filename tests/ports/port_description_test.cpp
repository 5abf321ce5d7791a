#include "ports/port_description.h"

#include <gtest/gtest.h>

#include "platform/pictures.h"
#include "platform/property_list.h"
#include "ports/typed_stream.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using namespace morvane::testing;

class PortDescription : public TestMachine {
  public:
    Result<Dictionary> read(const Value& description) {
        put(path, property_lists::xml(description));
        return port_description::read(path);
    }
    std::string messageFor(const Value& description) {
        const auto result = read(description);
        return !result ? result.error().message() : "";
    }
    const std::string path = home + "/port.plist";
    const std::string png = pictures::encodePng({5, 4, std::vector<std::uint8_t>(80, 7)});
};

TEST_F(PortDescription, BecomesACkiWithItsPictures) {
    put(home + "/pictures/icon.png", png);
    const auto entry = [](const char* icon) {
        return Dictionary{{"name", "Game"}, {"main", "X"}, {"icon", icon}};
    };
    const std::string absolute = home + "/pictures/icon.png";
    const Dictionary description{{"CKI Version", "1.6.1"},
                                 {"Winetricks", "d3dx9\nvcrun2008"},
                                 {"MacDriver", true},
                                 {"Button 1", 1},
                                 {"Overrides", Array{"[a]"}},
                                 {"Drives", Array{Dictionary{{"name", "d"}}}},
                                 {"EXEs", Array{entry("pictures/icon.png"), entry(absolute.c_str())}}};
    const auto result = read(description);
    ASSERT_TRUE(result) << result.error().message();
    Dictionary expected = description;
    Dictionary exe = entry("");
    exe.set("icon", ImageData{png, 5, 4});
    expected.set("EXEs", Array{exe, exe});
    EXPECT_TRUE(*result == expected);
    EXPECT_TRUE(typed_stream::archive(*result));
}

TEST_F(PortDescription, IsRefusedWithTheKeysName) {
    put(home + "/text.png", "no picture");
    const auto exes = [](Dictionary second) {
        return Dictionary{{"EXEs", Array{Dictionary{}, std::move(second)}}};
    };
    struct Row {
        Value description;
        const char* key;
    };
    const std::vector<Row> rows{
        {Dictionary{{"Engin", "x"}}, "\"Engin\""},
        {Dictionary{{"Engine", 9}}, "\"Engine\""},
        {Dictionary{{"MacDriver", Array{}}}, "\"MacDriver\""},
        {Dictionary{{"Winetricks", Array{"a", 1}}}, "\"Winetricks\""},
        {Dictionary{{"EXEs", Array{"a"}}}, "\"EXEs\""},
        {exes({{"nam", "x"}}), "\"EXEs 2: nam\""},
        {exes({{"automatic", "1"}}), "\"EXEs 2: automatic\""},
        {exes({{"icon", "missing.png"}}), "\"EXEs 2: icon\""},
        {exes({{"icon", "text.png"}}), "\"EXEs 2: icon\""},
    };
    for (const Row& row : rows) {
        EXPECT_NE(messageFor(row.description).find(row.key), std::string::npos)
            << messageFor(row.description);
    }
    EXPECT_NE(messageFor(Array{}), "");
    put(path, "no property list");
    EXPECT_FALSE(port_description::read(path));
    EXPECT_FALSE(port_description::read(home + "/none.plist"));
}

TEST_F(PortDescription, ShowsACkiInBothByteOrders) {
    const Dictionary cki{
        {"Creator", "me\n\x1b[31m\xc2\x9b"},
        {"Engine", "CK8Wine3.0"},
        {"Port Type", "Caskery"},
        {"DLLsOverrides", "\"d3d9\"=\"native\""},
        {"Winetricks", Array{}},
        {"EXEs", Array{Dictionary{{"main", "X"}, {"path", "C:/a.exe"}, {"icon", ImageData{png, 16, 16.5}}}}}};
    const std::string file = home + "/Game (Steam).cki";
    for (const auto order : {typed_stream::ByteOrder::little, typed_stream::ByteOrder::big}) {
        const std::string bytes = *typed_stream::archive(cki, order);
        put(file, bytes);
        const auto shown = port_description::shown(file);
        ASSERT_TRUE(shown);
        const std::string tiffBytes = std::to_string(pictures::encodeTiff(*pictures::decode(png)).size());
        for (const std::string& line : {std::string("Creator: me\\n\\x1b[31m\\x9b\n"), tiffBytes + " bytes",
                                        std::string("    Engine: CK9Wine3.0\n"), std::string("- Steam\n"),
                                        std::string("Winetricks: none\n")})
            EXPECT_NE(shown->find(line), std::string::npos) << line << *shown;
    }
}

}  // namespace
}  // namespace morvane
