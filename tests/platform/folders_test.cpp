#include "platform/folders.h"

#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

namespace morvane {
namespace {

/// One variable of the environment, put back at the end.
class Variable {
  public:
    Variable(const char* name, const char* value) : name_(name), before_(environmentVariable(name)) {
        ::setenv(name, value, 1);
    }
    ~Variable() { before_.empty() ? ::unsetenv(name_) : ::setenv(name_, before_.c_str(), 1); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    const char* const name_;
    const std::string before_;
};

TEST(Folders, AHomeOfItsOwnIsNeverTheRealOne) {
    const Variable home("HOME", "/real"), resources("MORVANE_RESOURCES", "share/"),
        cache("XDG_CACHE_HOME", "/cache");
    const std::string here = std::filesystem::current_path().string();
    const struct {
        const char* named;
        std::string home;
    } rows[] = {{"", "/real"}, {"/own/", "/own"}, {"own", here + "/own"}, {"./a/../own/", here + "/own"}};
    for (const auto& row : rows) {
        const Variable own("MORVANE_HOME", row.named);
        const Folders folders = Folders::fromEnvironment();
        EXPECT_EQ(folders.home, row.home) << row.named;
        EXPECT_EQ(folders.desktop, row.home + "/Desktop");
        EXPECT_EQ(folders.temporary,
                  *row.named == 0 ? "/cache/morvane/passing" : row.home + "/Library/Caches/Morvane/passing");
        EXPECT_EQ(folders.programs, here + "/share/programs");
    }
}

}  // namespace
}  // namespace morvane
