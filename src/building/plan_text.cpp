#include "building/plan_text.h"

#include <algorithm>

#include "foundation/formats.h"
#include "foundation/localization.h"
#include "platform/http.h"

namespace morvane {
namespace {

std::string withUnit(std::uint64_t bytes) {
    return NSUtilities::humanReadableSizeForBytes(static_cast<std::int64_t>(bytes),
                                                  DecimalMeasureSystem::yes);
}

Array asArray(const std::vector<std::string>& texts) {
    return {texts.begin(), texts.end()};
}

/// What is asked, on one line: the rest of a long text is shown when it is asked.
std::string headingOf(const ForeseenQuestion& question) {
    if (const auto* dialog = std::get_if<Dialog>(&question.shown)) {
        const std::string text = dialog->text.substr(0, dialog->text.find('\n'));
        return text.empty() ? dialog->title : dialog->title + ": " + text;
    }
    const auto* open = std::get_if<OpenPanel>(&question.shown);
    return open != nullptr ? open->title : std::get<SavePanel>(question.shown).title;
}

std::vector<std::string> buttonsOf(const ForeseenQuestion& question) {
    const auto* dialog = std::get_if<Dialog>(&question.shown);
    return dialog != nullptr ? dialog->buttons : std::vector<std::string>{};
}

const std::vector<ForeseenQuestion>& nextAfterTheAnswer(const ForeseenQuestion& question) {
    static const std::vector<ForeseenQuestion> none;
    const auto branch =
        std::ranges::find(question.branches, question.answer, &ForeseenQuestion::Branch::button);
    return branch != question.branches.end() ? branch->questions : none;
}

void addQuestions(std::string& text, const std::vector<ForeseenQuestion>& questions,
                  const OptionOf& optionOf) {
    for (const ForeseenQuestion& question : questions) {
        if (!question.isAsked) continue;
        text += "   " + localized("question: %@", {headingOf(question)});
        for (const std::string& button : buttonsOf(question)) text += " [" + button + "]";
        text += "\n             " + optionOf(question) + "\n";
        addQuestions(text, nextAfterTheAnswer(question), optionOf);
    }
}

Array asArray(const std::vector<ForeseenQuestion>& questions, const OptionOf& optionOf) {
    Array array;
    for (const ForeseenQuestion& question : questions) {
        if (!question.isAsked) continue;
        const auto* dialog = std::get_if<Dialog>(&question.shown);
        array.push_back(Dictionary{{"title", dialog != nullptr ? dialog->title : headingOf(question)},
                                   {"text", dialog != nullptr ? dialog->text : ""},
                                   {"buttons", asArray(buttonsOf(question))},
                                   {"answer", question.answer},
                                   {"option", optionOf(question)}});
        for (Value& next : asArray(nextAfterTheAnswer(question), optionOf)) array.push_back(std::move(next));
    }
    return array;
}

}  // namespace

std::string shown(const BuildPlan& plan, const OptionOf& optionOf) {
    std::string text;
    if (plan.obstacle) text += localized("This port can't be built: %@", {*plan.obstacle}) + "\n";
    int number = 0;
    for (const PlannedStage& stage : plan.stages) {
        text += std::to_string(++number) + ". " + stage.title + "\n";
        for (const std::string& each : stage.present) text += "   " + localized("there: %@", {each}) + "\n";
        for (const PlannedDownload& each : stage.downloads) {
            const auto parts = parseUrl(each.link);
            const std::string size = each.size ? withUnit(*each.size) : localized("size not known");
            text +=
                "   " +
                localized("download: %@ from %@ (%@)", {each.what, parts ? parts->host : each.link, size}) +
                "\n" + "             " + each.link + "\n";
        }
        for (const std::string& each : stage.actions) text += "   " + each + "\n";
        addQuestions(text, stage.questions, optionOf);
        for (const std::string& each : stage.supplies) text += "   " + localized("bring: %@", {each}) + "\n";
    }
    if (plan.stages.empty()) return text;
    const std::string needed = withUnit(plan.spaceNeeded);
    text += plan.sizesAreKnown ? localized("Space needed: about %@", {needed})
                               : localized("Space needed: more than %@", {needed});
    if (plan.spaceFree) text += localized(", free: %@", {withUnit(*plan.spaceFree)});
    return text + "\n";
}

Value asValue(const BuildPlan& plan, const OptionOf& optionOf) {
    Array stages;
    for (const PlannedStage& stage : plan.stages) {
        Array downloads;
        for (const PlannedDownload& each : stage.downloads) {
            const auto parts = parseUrl(each.link);
            downloads.push_back(
                Dictionary{{"what", each.what},
                           {"link", each.link},
                           {"host", parts ? Value(parts->host) : Value()},
                           {"size", each.size ? Value(static_cast<std::int64_t>(*each.size)) : Value()}});
        }
        stages.push_back(Dictionary{{"title", stage.title},
                                    {"present", asArray(stage.present)},
                                    {"downloads", std::move(downloads)},
                                    {"actions", asArray(stage.actions)},
                                    {"questions", asArray(stage.questions, optionOf)},
                                    {"supplies", asArray(stage.supplies)}});
    }
    return Dictionary{
        {"obstacle", plan.obstacle ? Value(*plan.obstacle) : Value()},
        {"stages", std::move(stages)},
        {"spaceNeeded", static_cast<std::int64_t>(plan.spaceNeeded)},
        {"sizesAreKnown", plan.sizesAreKnown},
        {"spaceFree", plan.spaceFree ? Value(static_cast<std::int64_t>(*plan.spaceFree)) : Value()}};
}

}  // namespace morvane
