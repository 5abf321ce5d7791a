#include "platform/crash_handler.h"

#include <cxxabi.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <signal.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string_view>
#include <typeinfo>

namespace morvane {

namespace {

struct CrashSignal {
    int number;
    const char* name;
};
constexpr std::array signals{CrashSignal{SIGSEGV, "SIGSEGV"}, CrashSignal{SIGABRT, "SIGABRT"},
                             CrashSignal{SIGBUS, "SIGBUS"}, CrashSignal{SIGFPE, "SIGFPE"},
                             CrashSignal{SIGILL, "SIGILL"}};

/// Text of a fixed size. What does not fit is left out.
template <std::size_t size>
class Text {
  public:
    void add(std::string_view text) {
        const std::size_t count = std::min(text.size(), size - 1 - length_);
        std::copy_n(text.data(), count, bytes_.data() + length_);
        length_ += count;
        bytes_[length_] = '\0';
    }
    void addNumber(std::uint64_t number, unsigned base = 10, std::size_t digits = 1) {
        std::array<char, 20> text{};
        std::size_t first = text.size();
        do {
            text[--first] = "0123456789abcdef"[number % base];
            number /= base;
        } while (number != 0 || text.size() - first < digits);
        add({text.data() + first, text.size() - first});
    }
    void addAddress(std::uintptr_t address) {
        add("0x");
        addNumber(address, 16);
    }
    /// Without line breaks: a line of the report is not to be made by what it quotes.
    void addLine(std::string_view text) {
        for (const char character : text)
            add(static_cast<unsigned char>(character) < ' ' ? " " : std::string_view(&character, 1));
    }
    void clear() { length_ = 0; }
    [[nodiscard]] const char* text() const { return bytes_.data(); }
    [[nodiscard]] char* bytes() { return bytes_.data(); }
    [[nodiscard]] std::string_view view() const { return {bytes_.data(), length_}; }

  private:
    std::array<char, size> bytes_{};
    std::size_t length_ = 0;
};

/// A file of code and where it lies in memory: an address counts from its beginning.
struct Module {
    std::array<char, 48> name;
    std::uintptr_t begin, end;
};

constexpr std::size_t mostModules = 256, mostFrames = 64, stackSize = std::size_t{64} << 10;

/// Everything that the handler uses is here before it runs.
struct Prepared {
    Text<PATH_MAX> folder, path;
    Text<64> program, version;
    Text<256> reason;  // of an exception that nobody has caught
    Text<512> line;
    std::array<Module, mostModules> modules;
    std::size_t moduleCount = 0;
    std::array<void*, mostFrames> frames;
    std::array<struct sigaction, signals.size()> before;
    alignas(16) std::array<char, stackSize> stack;
};
Prepared prepared;
std::atomic<bool> isInstalled = false;
std::atomic<pid_t> writer = 0;  // the thread that has crashed first
std::terminate_handler terminateBefore = nullptr;

int noteModule(dl_phdr_info* info, std::size_t, void*) {
    if (prepared.moduleCount == mostModules) return 1;
    std::uintptr_t begin = UINTPTR_MAX, end = 0;
    for (int part = 0; part < info->dlpi_phnum; ++part) {
        const auto& header = info->dlpi_phdr[part];
        if (header.p_type != PT_LOAD) continue;
        begin = std::min<std::uintptr_t>(begin, info->dlpi_addr + header.p_vaddr);
        end = std::max<std::uintptr_t>(end, info->dlpi_addr + header.p_vaddr + header.p_memsz);
    }
    if (begin >= end) return 0;
    // Without its folder, which may name the user. The program itself has no name here.
    std::string_view name = info->dlpi_name != nullptr ? info->dlpi_name : "";
    name.remove_prefix(name.rfind('/') + 1);
    if (name.empty()) name = prepared.moduleCount == 0 ? "program" : "kernel";
    Module& module = prepared.modules[prepared.moduleCount++];
    module = {.name = {}, .begin = begin, .end = end};
    std::copy_n(name.data(), std::min(name.size(), module.name.size() - 1), module.name.data());
    return 0;
}

// ---- Everything below runs in a program that has crashed

void writeLine(int file) {
    prepared.line.add("\n");
    std::string_view rest = prepared.line.view();
    while (!rest.empty()) {
        const ssize_t written = write(file, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) break;
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    prepared.line.clear();
}

struct Time {
    std::uint64_t year, month, day, hour, minute, second;
};

/// Universal time. `gmtime` may read the files of the time zone.
Time now() {
    constexpr std::uint64_t secondsOfDay = 86400, daysTo1970 = 719468, daysOf400Years = 146097;
    timespec clock{};
    clock_gettime(CLOCK_REALTIME, &clock);
    const auto seconds = static_cast<std::uint64_t>(clock.tv_sec);
    // Years that begin in March have their odd day at the end.
    const std::uint64_t days = seconds / secondsOfDay + daysTo1970;
    const std::uint64_t era = days / daysOf400Years, dayOfEra = days % daysOf400Years;
    const std::uint64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::uint64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const std::uint64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    return {.year = era * 400 + yearOfEra + (month <= 2 ? 1 : 0),
            .month = month,
            .day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1,
            .hour = seconds % secondsOfDay / 3600,
            .minute = seconds % 3600 / 60,
            .second = seconds % 60};
}

template <std::size_t size>
void addTime(Text<size>& text, const Time& time, const char* beforeTheHour, const char* withinTheDay) {
    text.addNumber(time.year, 10, 4);
    text.add("-");
    text.addNumber(time.month, 10, 2);
    text.add("-");
    text.addNumber(time.day, 10, 2);
    text.add(beforeTheHour);
    text.addNumber(time.hour, 10, 2);
    text.add(withinTheDay);
    text.addNumber(time.minute, 10, 2);
    text.add(withinTheDay);
    text.addNumber(time.second, 10, 2);
}

void makeFolder() {
    char* const path = prepared.folder.bytes();
    for (std::size_t place = 1; path[place] != '\0'; ++place) {
        if (path[place] != '/') continue;
        path[place] = '\0';
        mkdir(path, S_IRWXU);
        path[place] = '/';
    }
    mkdir(path, S_IRWXU);
}

int createReport(const Time& time) {
    makeFolder();
    prepared.path.clear();
    prepared.path.add(prepared.folder.view());
    prepared.path.add("/");
    prepared.path.add(prepared.program.view());
    prepared.path.add("_");
    addTime(prepared.path, time, "-", "");
    prepared.path.add("_");
    prepared.path.addNumber(static_cast<std::uint64_t>(getpid()));
    prepared.path.add(".crash");
    return open(prepared.path.text(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                S_IRUSR | S_IWUSR);
}

void writeFrames(int file) {
    auto& line = prepared.line;
    const int count = backtrace(prepared.frames.data(), static_cast<int>(mostFrames));
    for (int frame = 0; frame < count; ++frame) {
        const auto address =
            reinterpret_cast<std::uintptr_t>(prepared.frames[static_cast<std::size_t>(frame)]);
        line.addNumber(static_cast<std::uint64_t>(frame));
        line.add(" ");
        const Module* module = nullptr;
        for (std::size_t each = 0; each < prepared.moduleCount && module == nullptr; ++each) {
            const Module& candidate = prepared.modules[each];
            if (address >= candidate.begin && address < candidate.end) module = &candidate;
        }
        if (module != nullptr) {
            line.add(module->name.data());
            line.add("+");
            line.addAddress(address - module->begin);
        } else {
            line.addAddress(address);
        }
        writeLine(file);
    }
}

void writeReport(const char* signalName, const siginfo_t& details) {
    const Time time = now();
    const int file = createReport(time);
    if (file < 0) return;
    auto& line = prepared.line;
    line.clear();
    line.add("Process: ");
    line.add(prepared.program.view());
    line.add(" [");
    line.addNumber(static_cast<std::uint64_t>(getpid()));
    line.add("]");
    writeLine(file);
    line.add("Version: ");
    line.add(prepared.version.view());
    writeLine(file);
    line.add("Date/Time: ");
    addTime(line, time, " ", ":");
    line.add(" UTC");
    writeLine(file);
    line.add("Signal: ");
    line.add(signalName);
    if (details.si_code <= 0) {
        line.add(details.si_pid == getpid() ? ", raised by itself" : ", sent by another process");
    } else {
        line.add(" at ");
        line.addAddress(reinterpret_cast<std::uintptr_t>(details.si_addr));
    }
    writeLine(file);
    if (!prepared.reason.view().empty()) {
        line.add("Exception: ");
        line.add(prepared.reason.view());
        writeLine(file);
    }
    line.add("Backtrace:");
    writeLine(file);
    writeFrames(file);
    close(file);
}

void onCrash(int number, siginfo_t* details, void*) {
    const int error = errno;
    const pid_t self = gettid();
    pid_t nobody = 0;
    const bool isFirst = writer.compare_exchange_strong(nobody, self);
    // Of threads that crash together one writes, and the end of the program is the end of the others. Who
    // crashes while writing gives up.
    while (!isFirst && writer != self) pause();
    for (std::size_t each = 0; each < signals.size(); ++each) {
        if (signals[each].number != number) continue;
        if (isFirst) writeReport(signals[each].name, *details);
        sigaction(number, &prepared.before[each], nullptr);
    }
    errno = error;
    // A fault happens again as soon as this returns; a signal that was sent does not.
    if (details->si_code <= 0) raise(number);
}

/// The report follows with the signal in which this ends.
[[noreturn]] void onTerminate() {
    if (const std::type_info* type = abi::__cxa_current_exception_type()) {
        prepared.reason.add(type->name());
        try {
            throw;
        } catch (const std::exception& exception) {
            prepared.reason.add(": ");
            prepared.reason.addLine(exception.what());
        } catch (...) {  // its type says all that is known
        }
    }
    if (terminateBefore != nullptr) terminateBefore();
    std::abort();
}

}  // namespace

void installCrashHandler(const CrashReports& reports) {
    // The folder, "/", the name and the time.
    constexpr std::size_t longestName = 128;
    if (reports.folder.size() + longestName > PATH_MAX || isInstalled.exchange(true)) return;
    prepared.folder.add(reports.folder);
    prepared.program.add(reports.program);
    prepared.version.addLine(reports.version);
    dl_iterate_phdr(noteModule, nullptr);
    // The first call loads a library, which a program that has crashed can't.
    backtrace(prepared.frames.data(), 1);

    stack_t stack{};
    stack.ss_sp = prepared.stack.data();
    stack.ss_size = prepared.stack.size();
    sigaltstack(&stack, nullptr);
    struct sigaction action {};
    action.sa_sigaction = onCrash;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (std::size_t each = 0; each < signals.size(); ++each) {
        struct sigaction& before = prepared.before[each];
        sigaction(signals[each].number, &action, &before);
        // A crash that is ignored would go on for ever.
        if ((before.sa_flags & SA_SIGINFO) == 0 && before.sa_handler == SIG_IGN) before.sa_handler = SIG_DFL;
    }
    terminateBefore = std::set_terminate(onTerminate);
}

}  // namespace morvane
