#include "server/catalogue_publish.h"

#include <gtest/gtest.h>

#include <functional>

#include "catalogue_machine.h"
#include "platform/property_list.h"

namespace morvane {
namespace {

using testing::CatalogueMachine;

class Publishing : public CatalogueMachine {};

TEST_F(Publishing, RefusesWhatWouldBreakTheAnswersAndSaysWhy) {
    ASSERT_EQ(idOf(publish(port("Known"))), 2);
    put(files + "/bars.html", "<p>a || b</p>");
    put(files + "/latin.html", "<p>\xE9</p>");
    put(files + "/control.html", std::string("<p>\0</p>", 8));
    put(files + "/huge.html", std::string(300'000, 'x'));
    put(files + "/text.png", "no picture");
    put(files + "/old.cki",
        *typed_stream::archive(Value(Dictionary{{"CKI Version", "1.5.3"}, {"Source", "CD"}})));
    struct Row {
        std::function<void(PortToPublish&)> change;
        const char* message;
    };
    for (const Row& row : std::vector<Row>{
             {[](auto& port) { port.name = "a || b"; }, "The name holds \"||\""},
             {[](auto& port) { port.name = "a<BR>b"; }, "The name holds \"<br>\""},
             {[](auto& port) { port.name = "a;;b"; }, "The name holds \";;\""},
             {[](auto& port) { port.name = "a=>b"; }, "The name holds \"=>\""},
             {[](auto& port) { port.name = "a\nb"; }, "The name holds a line break"},
             {[](auto& port) { port.name = "a\xFF"; }, "The name is no UTF-8"},
             {[](auto& port) { port.name = " a"; }, "The name begins or ends with a blank"},
             {[](auto& port) { port.name = std::string(201, 'x'); }, "The name is longer than 200"},
             {[](auto& port) { port.name = ""; }, "The name is empty"},
             {[](auto& port) { port.creator = "a b"; }, "The creator becomes a part of addresses"},
             {[](auto& port) { port.creator = "../up"; }, "The creator becomes a part of addresses"},
             {[](auto& port) { port.creator = "winetricks"; }, "The creator cannot be called"},
             {[](auto& port) { port.country = "Br"; }, "The country is no code"},
             {[](auto& port) { port.trailer = "javascript:x"; }, "The trailer is no web address"},
             {[](auto& port) { port.crossover = "http://a/\"x"; }, "The CrossOver page is no web address"},
             {[](auto& port) { port.genres = {"a,b"}; }, "The genre holds a comma"},
             {[](auto& port) { port.sourceLinks = {"CD"}; }, "A source's link is given as SOURCE=URL"},
             {[](auto& port) { port.sourceLinks = {"CD=ftp://a/"}; }, "The source's link is no web address"},
             {[](auto& port) { port.sourceLinks = {"Steam=http://a/"}; },
              "There is no CKI file of the source Steam"},
             {[](auto& port) { port.dependency = 77; }, "There is no port 77 to depend on"},
             {[](auto& port) { port.cki.reset(); }, "A port needs a CKI file"},
             {[](auto& port) { port.icon.reset(); }, "A new port needs a description and an icon"},
             {[&](auto& port) { port.cki = cki("a/../../b"); }, "The CKI file's \"Source\" becomes a part"},
             {[&](auto& port) { port.cki = files + "/none.cki"; }, "There is no file at"},
             {[&](auto& port) { port.cki = files + "/text.png"; }, "That CKI file is corrupted"},
             {[&](auto& port) { port.cki = files + "/old.cki"; }, "The CKI file is older than version 1.5.4"},
             {[&](auto& port) { port.description = files + "/bars.html"; }, "The description holds \"||\""},
             {[&](auto& port) { port.description = files + "/latin.html"; }, "The description is no UTF-8"},
             {[&](auto& port) { port.description = files + "/control.html"; },
              "The description holds a control"},
             {[&](auto& port) { port.description = files + "/huge.html"; }, "The description is larger than"},
             {[&](auto& port) { port.icon = files + "/text.png"; }, "The icon is no picture"},
         }) {
        PortToPublish changed = port("New");
        row.change(changed);
        const auto published = publish(changed);
        ASSERT_FALSE(published) << row.message;
        EXPECT_EQ(published.error().message().substr(0, std::string_view(row.message).size()), row.message);
    }
    EXPECT_EQ((*CatalogueStore::open(content))->list(true, everyCountry).size(), 1U);
    EXPECT_EQ(idOf(publish(port("New"))), 3);  // no refusal used a number up
}

TEST_F(Publishing, WhatIsWithdrawnIsFoundNowhereUntilItIsPublishedAgain) {
    const PortToPublish game = port("Game");
    idOf(publish(game));
    PortToPublish addOn = port("Add-on");
    addOn.dependency = 2;
    idOf(publish(addOn));
    const auto store = *CatalogueStore::open(content);
    using Arrival = CatalogueStore::Arrival;
    store->countDownload(2);
    ASSERT_EQ(store->vote("voter", "::1", 2, CardFamily::nvidia, 5, 9), Arrival::stored);
    EXPECT_FALSE(store->withdraw(2)) << "the add-on needs it";
    EXPECT_TRUE(store->withdraw(3));
    const auto before = store->publications();
    ASSERT_TRUE(store->withdraw(2));
    EXPECT_GT(store->publications(), before);
    EXPECT_FALSE(store->withdraw(2));
    EXPECT_FALSE(store->withdraw(99));

    EXPECT_TRUE(store->list(true, everyCountry).empty());
    EXPECT_TRUE(store->search("game", std::nullopt, true).empty());
    EXPECT_FALSE(store->entry(2) || store->details(2) || store->ckiPath(2, "CD"));
    EXPECT_FALSE(store->portAtFolder("Bob", "2") || store->portAtFolder("Bob", "Game"));
    for (const RankingKind kind : {RankingKind::latest, RankingKind::popular, RankingKind::highrated})
        EXPECT_TRUE(store->ranking(kind, 9, std::nullopt).empty());
    EXPECT_EQ(store->vote("voter", "::1", 2, CardFamily::nvidia, 1, 9), Arrival::noSuchPort);
    EXPECT_FALSE(publish(addOn)) << "what it adds to is not there";
    EXPECT_TRUE(store->holds(*checkedPublication(game))) << "a list of samples does not bring it back";

    EXPECT_EQ(idOf(publish(game)), 2);
    EXPECT_TRUE(store->entry(2) && !store->entry(2)->developer && store->ckiPath(2, "CD"));
    EXPECT_EQ(store->ratings(2).at(3), 5);
}

}  // namespace
}  // namespace morvane
