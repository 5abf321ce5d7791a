#include "foundation/static_catalogue.h"

#include "library/catalogue_addresses.h"
#include "library/mail_form.h"
#include "library_machine.h"

namespace morvane {
namespace {

using testing::LibraryMachine;
using testing::LoopbackSite;
using Lines = std::vector<std::string>;

class PlainFiles : public LibraryMachine {
  protected:
    PlainFiles() {
        for (const std::string& file : static_catalogue::indexFiles())
            site.answer("/" + file, {.body = static_catalogue::textOf({live.baseAddress()})});
    }
    [[nodiscard]] std::string ask(const std::string& request) const {
        return catalogue::answerOf(site.baseAddress() + request).value_or("(nothing)");
    }
    LoopbackSite live;
};

TEST_F(PlainFiles, AreAskedForOnceTheFirstAnswerSaysSo) {
    const std::string list = "2 || Bob || Half Life || 0 || 1 || -- || 1 || 0 || 0";
    site.answer("/ckis/static/2/rating", {.body = "NVIDIA:3"});
    site.answer("/ckis/static/list-every", {.body = "3 || Bob || Other || 0 || 1 || BR<br>" + list});
    site.answer("/ckis/static/ranking-highrated", {.body = "all cards"});
    EXPECT_EQ(catalogue::downloadAddress(2, "GOG", "http://a/Bob/2/"),
              site.baseAddress() + "ckis/download.php?id=2&type=GOG");
    EXPECT_EQ(ask("ckis/portRating.php?game=2"), "NVIDIA:3");
    EXPECT_EQ(ask("ckis/portRating.php?game=3"), "") << "what is not there is an empty text";
    EXPECT_EQ(ask("ckis/portDescription.php?id=../../x"), "");
    EXPECT_EQ(ask("ckis/rankingPorts.php?type=highrated&num=25&card=ATi/AMD"), "all cards");
    EXPECT_EQ(ask("ckis/listPorts.php?search=half%20life"), list);
    EXPECT_EQ(site.requests(), (Lines{"GET /ckis/portRating.php?game=2", "GET /ckis/static/2/rating",
                                      "GET /ckis/static/3/rating", "GET /ckis/static/none",
                                      "GET /ckis/static/ranking-highrated-ati-amd",
                                      "GET /ckis/static/ranking-highrated", "GET /ckis/static/list-every"}));
    EXPECT_EQ(catalogue::downloadAddress(2, "GOG", "http://a/Bob/2/"), "http://a/Bob/2/GOG.cki");
    EXPECT_TRUE(catalogue::voteAddress("NVIDIA", 4, 2).starts_with(live.baseAddress()));
    site.answer("/ckis/static/2/rating", {.status = 503});
    EXPECT_EQ(ask("ckis/portRating.php?game=2"), "(nothing)");
}

TEST_F(PlainFiles, AListTellsWhetherTheCatalogueIsStillOne) {
    const std::string request = "ckis/listPorts.php?developer=0&country=BR";
    site.answer("/ckis/static/list", {.body = "for all"});
    EXPECT_EQ(ask(request), "for all");
    site.answer("/ckis/static/list-br", {.body = "for Brazil"});
    EXPECT_EQ(ask(request), "for Brazil");
    site.answer("/ckis/listPorts.php", {.body = "of a server"});
    EXPECT_EQ(ask(request), "of a server");
    EXPECT_TRUE(catalogue::voteAddress("NVIDIA", 4, 2).starts_with(site.baseAddress()));
    site.answer("/ckis/portRating.php", {.body = "also of a server"});
    EXPECT_EQ(ask("ckis/portRating.php?game=2"), "also of a server");
}

TEST_F(PlainFiles, AMailGoesToTheServerThatTheyName) {
    site.answer("/en/send_form_email.php", {.status = 405});
    live.answer("/en/send_form_email.php", {.body = "<!-- Success -->"});
    ui.expect("Message sent with success!");
    onWorker([] { EXPECT_TRUE(mail_form::sendMailWithPostString("comment=hello")); });
    EXPECT_EQ(live.requests(), (Lines{"POST /en/send_form_email.php\ncomment=hello"}));
}

}  // namespace
}  // namespace morvane
