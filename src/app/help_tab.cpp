#include "app/help_tab.h"

#include <algorithm>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/computer_information.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/mail_form.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/http.h"
#include "platform/property_list.h"
#include "platform/styled_text.h"
#include "platform/utf8.h"

namespace morvane {
namespace {

std::string_view entered(std::string_view text) {
    return utf8::trimmed(text, " \t");
}

std::string breaksAsHtml(std::string_view text) {
    return MVString::replacedAll(text, "\n", "<br>");
}

/// What the catalogue takes in one message, with room for the rest.
constexpr std::size_t longestLog = std::size_t{24} << 10;

/// Whole lines from the end of a log, whose texts come from anywhere.
std::string endInHTML(std::string_view log) {
    if (log.size() > longestLog) {
        log.remove_prefix(log.size() - longestLog);
        log.remove_prefix(std::min(log.find('\n') + 1, log.size()));
    }
    std::string html = MVString::replacedAll(log, "&", "&amp;");
    html = MVString::replacedAll(MVString::replacedAll(html, "<", "&lt;"), ">", "&gt;");
    return breaksAsHtml(harmless(html));
}

void append(StyledText& text, const StyledText& more) {
    text.text += more.text;
    text.runs.insert(text.runs.end(), more.runs.begin(), more.runs.end());
}

/// The name that the system's own report has written down; of several, one with the screen's size.
std::optional<std::string> writtenModel() {
    const auto settings = property_lists::read(
        filled("%@/Library/Preferences/com.apple.SystemProfiler.plist", {host().folders.library}));
    const auto* root = settings ? settings->as<Dictionary>() : nullptr;
    const auto* names = root != nullptr ? root->get<Dictionary>("CPU Names") : nullptr;
    std::optional<std::string> last, withSize;
    if (names != nullptr) {
        for (const auto& [key, value] : *names) {
            const auto* name = value.as<std::string>();
            if (name == nullptr) continue;
            last = *name;
            if (MVString::contains(*name, "inch")) withSize = *name;
        }
    }
    return withSize ? withSize : last;
}

std::optional<std::string> modelOfSerialNumber(std::string_view serial) {
    constexpr std::size_t codeAt = 8;
    if (serial.size() <= codeAt || host().sites.modelNames.empty()) return std::nullopt;
    const std::string code = MVString::stringToWebStructure(serial.substr(codeAt));
    const auto answer =
        NSUtilities::stringWithContentsOfURL(host().sites.modelNames + "sp/product?cc=" + code);
    const std::string model =
        NSUtilities::getFragmentAfter("<configCode>", "</configCode>", answer.value_or(""));
    return model.empty() ? std::nullopt : std::optional(model);
}

}  // namespace

std::string applicationVersion() {
    return MORVANE_VERSION;
}

struct NSHelpTab::Copy {
    NSHelpTab tab;
};

NSHelpTab::NSHelpTab() : self_(std::make_shared<NSHelpTab*>(this)) {}

NSHelpTab::~NSHelpTab() {
    *self_ = nullptr;
}

std::shared_ptr<NSHelpTab::Copy> NSHelpTab::copy() const {
    auto copy = std::make_shared<Copy>();
    copy->tab.form = form;
    copy->tab.hardwareReport_ = hardwareReport_;
    copy->tab.model_ = model_;
    return copy;
}

void NSHelpTab::takeBack(const Copy& copy) {
    hardwareReport_ = copy.tab.hardwareReport_;
    model_ = copy.tab.model_;
}

void NSHelpTab::send(std::function<void(bool taken)> completion) {
    if (std::exchange(isSending_, true)) return;
    MVThread::dispatchQueueWithName("app.morvane.sendMail", Priority::normal,
                                    [self = self_, copy = copy(), completion = std::move(completion)] {
                                        const bool taken = copy->tab.sendMail();
                                        MVThread::dispatchBlockInMainQueue([self, copy, completion, taken] {
                                            if (*self == nullptr) return;
                                            (*self)->isSending_ = false;
                                            (*self)->takeBack(*copy);
                                            if (completion) completion(taken);
                                        });
                                    });
}

void NSHelpTab::describe(std::function<void(const std::vector<Line>&)> completion) {
    MVThread::dispatchQueueWithName("app.morvane.describeComputer", Priority::normal,
                                    [self = self_, copy = copy(), completion = std::move(completion)] {
                                        const auto lines = copy->tab.computerSpecifications();
                                        MVThread::dispatchBlockInMainQueue([self, copy, completion, lines] {
                                            if (*self == nullptr) return;
                                            (*self)->takeBack(*copy);
                                            completion(lines);
                                        });
                                    });
}

std::vector<NSHelpTab::Question> NSHelpTab::commonQuestions() {
    // Each language has a page of its own.
    const std::string& resources = host().folders.resources;
    auto page = files::read(
        files::join(resources, localizedIn("the file of the common questions", "questions.html")));
    if (!page) page = files::read(files::join(resources, "questions.html"));
    std::vector<Question> questions;
    // "<h2>question</h2> answer", again and again.
    auto parts = MVString::split(page.value_or(""), "<h2>");
    for (std::size_t part = 1; part < parts.size(); ++part) {
        const std::size_t end = parts[part].find("</h2>");
        if (end == std::string::npos) continue;
        const auto answerAt = end + std::string_view("</h2>").size();
        questions.push_back({styledTextFromHtml(parts[part].substr(0, end)).text,
                             styledTextFromHtml(parts[part].substr(answerAt))});
    }
    return questions;
}

std::string NSHelpTab::logFolder() {
    const std::string folder = files::parent(host().log.path());
    static_cast<void>(files::createFolder(folder, true));
    return folder;
}

bool NSHelpTab::sendMail() {
    const std::string& catalogue = host().sites.catalogue;
    if (!NSUtilities::isWebsiteOfUrlAvailable(catalogue)) {
        const auto parts = parseUrl(catalogue);
        MVAlert::showAlertErrorMessage(
            localized("Couldn't load %s website.", {parts ? parts->host : catalogue}));
        return false;
    }
    if (const auto checked = checkForm(); !checked) {
        MVAlert::showAlertErrorMessage(checked.error().message());
        return false;
    }
    std::string comment = filled("<br>%@", {form.description});
    if (form.addsComputerDescription) {
        comment = filled("%@<br><br><br><b>COMPUTER DESCRIPTION:</b><br>%@",
                         {comment, computerSpecificationsInHTML(InHTML::yes).text});
    }
    if (!form.buildLog.empty()) {
        comment = filled("%@<br><br><br><b>BUILD LOG:</b><br>%@", {comment, endInHTML(form.buildLog)});
    }
    return mail_form::sendMailWithPostValues(
        {{"name", form.name}, {"email", form.mail}, {"comment", comment}, {"subject", form.subject}});
}

Result<> NSHelpTab::checkForm() const {
    constexpr std::size_t shortestSubject = 4, shortestDescription = 15;
    if (entered(form.mail).empty())
        return Failure{
            localized("We gonna contact you by mail, so we need a valid mail to send your answer.")};
    if (entered(form.name).empty())
        return Failure{localized(
            "We need to call you something when answering you. It doesn't need to be your real name if you "
            "prefer to keep yourself anonymous.")};
    if (utf8::length(entered(form.subject)) < shortestSubject)
        return Failure{localized(
            "The subject is used to give a brief explanation of the reason for your contact. Sometimes we "
            "receive lots of mails, and we usually choose which one will be answered first based in the "
            "subject; so the clearest the subject, the fastest is the answer.\n\nGood subjects:\n- Skyrim "
            "crashing\n- Error while installing Red Alert\n- Age of Empires mods\n\nBad subjects:\n- "
            "Fallout\n- HELP ME!!!\n- Error")};
    if (utf8::length(entered(form.description)) < shortestDescription)
        return Failure{localized(
            "The description area is to provide the details about why you are contacting us. Give the "
            "biggest "
            "number of details that you can remember; that always increase our chances of solving your "
            "problem in case you have one, and give us a better look of your idea in case you have one.")};
    return {};
}

void NSHelpTab::specsButtonClicked() {
    Dialog dialog;
    dialog.title = localized("Computer Specifications");
    dialog.text = localized("These are your computer specs:");
    dialog.buttons = {localized("OK")};
    dialog.accessory = computerSpecificationsInHTML(InHTML::no);
    static_cast<void>(MVAlert::showDialog(dialog));
}

void NSHelpTab::morvaneHelp() {
    host().userInterface.openLink(host().sites.catalogue);
}

std::vector<NSHelpTab::Line> NSHelpTab::computerSpecifications() {
    namespace computer = NSComputerInformation;
    const auto hardware = [&](const char* label) { return computer::valueInReport(label, hardwareReport()); };
    std::vector<Line> lines;
    lines.push_back({marked("Morvane Version: "), applicationVersion()});
    if (const auto& model = determinateMacCompleteModel()) lines.push_back({marked("Mac Model: "), *model});
    lines.push_back(
        {marked("Processor: "), filled("%@ %@", {hardware("Processor Name"), hardware("Processor Speed")})});
    lines.push_back(
        {marked("Video Card: "), filled("%@ (%@)", {computer::graphicCardModel().value_or("?"),
                                                    computer::graphicCardMemorySize().value_or("?")})});
    if (const auto vulkan = computer::vulkanRenderer()) lines.push_back({"Vulkan: ", *vulkan});
    if (const auto openGl = computer::openGlRenderer()) lines.push_back({"OpenGL: ", *openGl});
    lines.push_back({marked("RAM Memory: "), hardware("Memory")});
    lines.push_back({marked("Disk Size: "), computer::diskSize()});
    if (const auto system = computer::systemName()) lines.push_back({marked("macOS Version: "), *system});
    return lines;
}

StyledText NSHelpTab::computerSpecificationsInHTML(InHTML html) {
    StyledText text;
    for (const Line& line : computerSpecifications()) {
        // The makers read what is sent to them.
        append(text, boldString(html == InHTML::yes ? line.label : localized(line.label), html));
        append(text, normalString(line.value + "\n", html));
    }
    return text;
}

const std::string& NSHelpTab::hardwareReport() {
    if (!hardwareReport_) hardwareReport_ = NSComputerInformation::hardwareReport();
    return *hardwareReport_;
}

const std::optional<std::string>& NSHelpTab::determinateMacCompleteModel() {
    if (model_) return *model_;
    model_ = writtenModel();
    if (!*model_) {
        const auto& report = hardwareReport();
        model_ = modelOfSerialNumber(NSComputerInformation::valueInReport("Serial Number (system)", report));
    }
    // A machine that is no Mac.
    if (!*model_) model_ = NSComputerInformation::machineModel();
    return *model_;
}

StyledText NSHelpTab::boldString(const std::string& text, InHTML html) {
    if (html == InHTML::no) return styledText(text, {.bold = true, .font = "Helvetica-Bold", .fontSize = 12});
    return {breaksAsHtml(filled("<b>%@</b>", {text})), {}};
}

StyledText NSHelpTab::normalString(const std::string& text, InHTML html) {
    if (html == InHTML::no) return styledText(text, {.font = "Helvetica", .fontSize = 12});
    return {breaksAsHtml(text), {}};
}

std::optional<std::string> NSHelpTab::textForCommand(FieldCommand command) {
    switch (command) {
        case FieldCommand::insertNewline:
            return "\n";
        case FieldCommand::insertTab:
            return "\t";
        case FieldCommand::other:
            break;
    }
    return std::nullopt;
}

}  // namespace morvane
