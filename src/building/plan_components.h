// building/plan_components.h: the plan of engines, of Windows components and of store clients. Blocks on the
// network; a worker.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "building/plan_draft.h"
#include "building/store_clients.h"
#include "building/verb_script.h"
#include "building/winetricks_files.h"

namespace morvane {

/// Where the engine comes from, into the stage that is open.
void planEngine(PlanDraft& draft, const std::string& engine, const std::optional<std::string>& link);

/// The components of one build: what one of them fetches, the next one finds. All into the stage that is open,
/// but for a client.
class PlannedComponents {
  public:
    PlannedComponents(PlanDraft& draft, std::string wrapper) : draft_(draft), wrapper_(std::move(wrapper)) {}

    /// To be called first: without the script, components have no downloads.
    void findScript();
    void addRequests(const std::vector<std::string>& requests);
    /// A stage of its own.
    void addClient(const store_clients::StoreClient& client);

  private:
    void addComponent(const std::string& component);
    void addCached(const verb_script::Download& file, bool byHand);
    void addManualInstallation(const std::string& client);

    PlanDraft& draft_;
    const std::string wrapper_;
    std::optional<winetricks::Script> script_;
    std::set<std::string> visited_;
};

}  // namespace morvane
