// The programs that a build runs fail, hang, are killed, or print anything. The build ends, in its fixed words, and
// leaves no process.
#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

#include "hostile/hostile_machine.h"
#include "platform/pictures.h"

namespace morvane {
namespace {

using namespace std::chrono_literals;

struct Program {
    const char* name;
    /// What the user is told when it fails; without, the build goes on without it.
    const char* told = nullptr;
};

void PrintTo(const Program& program, std::ostream* out) {
    *out << program.name;
}

class HostilePrograms : public testing::HostileMachine, public ::testing::WithParamInterface<Program> {
  protected:
    /// The program notes each of its processes before it does so.
    void behave(const std::string& behaviour) {
        const std::string text = "#!/bin/sh\necho $$ >> '" + started + "'\n" + behaviour + "\n";
        const bool isResource = GetParam().name == std::string("7za");
        put((isResource ? resources : programsFolder) + "/" + GetParam().name, text, true);
    }
    std::string game() {
        return cki(
            {{"Engine", "CK9Wine3.0"},
             {"EXEs",
              Array{Dictionary{
                  {"name", "Game"},
                  {"main", "X"},
                  {"path", "C:/Game/game.exe"},
                  {"icon",
                   ImageData{pictures::encodePng(
                                 {.width = 16, .height = 16, .rgba = std::vector<std::uint8_t>(1024, 200)}),
                             16, 16}}}}}});
    }
    void expectNoneLeft() const {
        std::istringstream processes(exists(started) ? get(started) : "");
        for (pid_t process = 0; processes >> process;) {
            const auto state = [&] {
                std::ifstream file("/proc/" + std::to_string(process) + "/stat");
                std::string number, name, letter;
                file >> number >> name >> letter;
                return name == "(sleep)" && letter != "Z" ? letter : "";
            };
            for (int look = 0; look < 200 && !state().empty(); ++look) std::this_thread::sleep_for(10ms);
            EXPECT_EQ(state(), "") << process << " is still there";
        }
    }
    const std::string started = folder.path + "/started";
    const Names changed{"../started", "../programs", "../resources"};
};

TEST_P(HostilePrograms, MayFailOrPrintAnything) {
    for (const char* behaviour : {"exit 1", "kill -SEGV $$", "exit 0", "head -c 300000 /dev/urandom",
                                  "head -c 100000000 /dev/zero", "head -c 1000000 /dev/zero >&2; exit 3"}) {
        SCOPED_TRACE(behaviour);
        behave(behaviour);
        fs::remove(started);
        // What it has said before is forgotten, as by a new start.
        machine->hardware.value = {};
        const bool built = builds(game(), changed);
        EXPECT_TRUE(exists(started)) << "it was never run";
        EXPECT_EQ(built, GetParam().told == nullptr) << allTold().substr(0, 2000);
        EXPECT_TRUE(GetParam().told == nullptr || wasTold(GetParam().told)) << allTold().substr(0, 2000);
        fs::remove_all(wrapper);
    }
}

TEST_P(HostilePrograms, AreEndedByACancellationWhenTheyHang) {
    behave("exec sleep 600");
    cancelWhen([&] { return exists(started); });
    EXPECT_FALSE(builds(game(), changed));
    ASSERT_TRUE(exists(started)) << "it was never run";
    EXPECT_TRUE(wasTold("Cancelled: User requested wrapper creation termination")) << allTold();
    EXPECT_FALSE(exists(wrapper));
    expectNoneLeft();
}

INSTANTIATE_TEST_SUITE_P(Each, HostilePrograms,
                         ::testing::Values(Program{"7za", "Archives can't be unpacked"},
                                           Program{"system_profiler"}, Program{"iconutil"}, Program{"chmod"}),
                         [](const auto& test) { return "Program_" + std::string(test.param.name); });

}  // namespace
}  // namespace morvane
