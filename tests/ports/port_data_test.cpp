#include "ports/port_data.h"

#include <gtest/gtest.h>

#include "platform/files.h"
#include "ports/typed_stream.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using namespace morvane::testing;

std::string archived(const Value& root) {
    return *typed_stream::archive(root);
}

NSPortData portOf(const Dictionary& cki, const std::optional<std::string>& path = std::nullopt) {
    return NSPortData::initWithDictionary(cki, path);
}

using CkiLoader = TestMachine;

TEST_F(CkiLoader, SaysWhatIsWrong) {
    const std::string missing = home + "/none.ckii";
    EXPECT_EQ(NSUtilities::loadArchivedObjectFromFile(missing, "CKII").error().message(),
              "There is no CKII file at " + missing + "!");
    const std::string unavailable =
        "That CKI file isn't available in the database. Inform us through the Contact Us tab.";
    const std::string corrupted = "That CKI file is corrupted or the format is invalid!";
    const std::pair<std::string, std::string> rows[] = {
        {"", unavailable},
        {"<html><body>404", unavailable},
        {"<html>\xff", corrupted},
        {"<HTML>", corrupted},
        {"\xff\xfe random", corrupted},
        {archived("a text"), corrupted},
        {archived(Dictionary{{"Creator", "me"}}), ""},
    };
    const std::string path = home + "/Some Game (Steam).cki";
    for (const auto& [contents, message] : rows) {
        put(path, contents);
        const auto port = NSPortData::initWithCkiAtPath(path);
        EXPECT_EQ(!port ? port.error().message() : "", message) << contents;
        EXPECT_EQ(message.empty() && port->isSteam, message.empty()) << "by the name";
    }
    EXPECT_EQ(NSUtilities::loadArchivedObjectFromFile(home, "CKI").error().message(), corrupted);
}

TEST(PortData, GatesExtraFilesByVersion) {
    const std::tuple<Value, std::size_t, std::size_t> rows[] = {
        {"1.5.7", 1, 0}, {"1.5.8", 2, 1}, {Value(), 1, 0}};
    for (const auto& [version, before, after] : rows) {
        const NSPortData port = portOf({{"CKI Version", version},
                                        {"Extra Files", Array{Dictionary{}}},
                                        {"Before Extra Files", Array{Dictionary{}, Dictionary{}}},
                                        {"After Extra Files", Array{Dictionary{}}}});
        EXPECT_EQ(port.extraFilesBeforeInstaller.size(), before);
        EXPECT_EQ(port.extraFilesAfterInstaller.size(), after);
    }
}

class BlankPort : public TestMachine {
  protected:
    static std::optional<NSPortData> blank(const std::string& path, unsigned drms = 0,
                                           MacDriver driver = MacDriver::no,
                                           const std::string& engine = "CK9Wine3.0") {
        return NSPortData::customPortAtPath(path, engine, drms, driver);
    }
};

}  // namespace
}  // namespace morvane
