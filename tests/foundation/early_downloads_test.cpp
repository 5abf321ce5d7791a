#include "foundation/early_downloads.h"

#include <algorithm>
#include <filesystem>
#include <thread>

#include "foundation/download.h"
#include "support/loopback_site.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using Lines = std::vector<std::string>;

class EarlyDownloading : public testing::TestMachine {
  protected:
    std::string offer(const std::string& name, std::size_t size, bool marked = true, bool stall = false,
                      char content = 'e') {
        site.answer("/" + name, {.body = std::string(size, content),
                                 .announcedLength = stall ? static_cast<long long>(size) + 1 : -1,
                                 .stall = stall,
                                 .entityTag = marked ? "\"" + name + "\"" : ""});
        return site.baseAddress() + name;
    }
    [[nodiscard]] Lines gets() const {
        Lines requests = site.requests();
        std::erase_if(requests, [](const std::string& request) { return !request.starts_with("GET"); });
        return requests;
    }
    static constexpr std::chrono::milliseconds tick{10};
    testing::LoopbackSite site;
    const std::shared_ptr<NSProgressView> progress = std::make_shared<NSProgressView>();
};

TEST_F(EarlyDownloading, GivesTheLaterDownloadWhatItHas) {
    const Lines links{offer("small", 10),          offer("unmarked", 1000, false), offer("large", 5000),
                      site.baseAddress() + "gone", "file:///etc/passwd",           offer("small", 10)};
    Download download(progress, Download::Keep::untilForgotten);
    onWorker([&] {
        EarlyDownloads early(links, tick);
        // The first that are fetched are the largest: those of all that are waited for last.
        while (gets().size() < 4) std::this_thread::yield();
        for (const std::string& link : links) early.waitFor(link, [](const auto&) {});
        // A server that would give something else under the same mark is not asked for it.
        offer("small", 10, true, false, 'l');
        offer("unmarked", 1000, false, false, 'l');
        offer("large", 5000, true, false, 'l');
        for (const auto& [name, content] : {std::pair("small", 'e'), {"unmarked", 'l'}, {"large", 'e'}}) {
            const std::string place = folder.path + "/" + name;
            EXPECT_TRUE(download.downloadFile(site.baseAddress() + name, place, Silence::yes));
            EXPECT_EQ(get(place)[0], content) << name;
        }
        download.forgetParts();
        early.forget();
    });
    EXPECT_EQ(std::ranges::count(site.requests(), "HEAD /small"), 1);
    EXPECT_TRUE(std::filesystem::is_empty(partsFolder()));
}

TEST_F(EarlyDownloading, FourRunAtOnceTheLargestFirstAndTheRestIsTheCallers) {
    Lines links;
    for (std::size_t size = 1; size <= 6; ++size)
        links.push_back(offer(std::to_string(size), size * 100, true, true));
    EarlyDownloads early(links, tick);
    while (gets().size() < 4) std::this_thread::yield();
    Lines begun = gets();
    std::ranges::sort(begun);
    EXPECT_EQ(begun, (Lines{"GET /3", "GET /4", "GET /5", "GET /6"}));
    early.waitFor(links[1], [](const auto&) { ADD_FAILURE() << "it has not begun"; });
    // A transfer that hangs is ended, and its part gone on with.
    EarlyDownloads::Sum last;
    early.waitFor(links[5], [&](const auto& sum) { last = sum; });
    EXPECT_GE(last.whole, 601U);
    EXPECT_LT(last.done, last.whole);
}

TEST_F(EarlyDownloading, ACancellationEndsTheWait) {
    const std::string link = offer("hangs", 100, true, true);
    onWorker([&] {
        ASSERT_TRUE(machine->creation.begin());
        EarlyDownloads early({link}, std::chrono::hours(1));
        while (gets().empty()) std::this_thread::yield();
        machine->workQueues.start("cancel", Priority::normal, [this] { machine->creation.request(); });
        EXPECT_THROW(early.waitFor(link, [](const auto&) {}), Cancelled);
        machine->creation.end();
    });
    EXPECT_EQ(site.requests().size(), 2U);
}

}  // namespace
}  // namespace morvane
