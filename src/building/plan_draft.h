// building/plan_draft.h: a plan while it is written, stage by stage. Blocks on the network; a worker.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "building/build_plan.h"
#include "platform/user_interface.h"

namespace morvane {

enum class AskForSizes { no, yes };

class PlanDraft {
  public:
    explicit PlanDraft(AskForSizes asking) : asking_(asking) {}

    PlannedStage& begin(const std::string& title);
    /// The one that was begun last.
    [[nodiscard]] PlannedStage& stage() { return plan.stages.back(); }
    void ask(ForeseenQuestion question) { stage().questions.push_back(std::move(question)); }
    /// Adds its size to the space that is needed.
    void download(const std::string& what, const std::string& link);
    [[nodiscard]] bool asksServers() const { return asking_ == AskForSizes::yes; }

    BuildPlan plan;

  private:
    /// In bytes. A server that does not answer is asked once.
    std::optional<std::uint64_t> sizeBehind(const std::string& link);

    const AskForSizes asking_;
    std::set<std::string> silent_;  ///< hosts
};

}  // namespace morvane
