// engines/caskery_engine.h: engine names, their order and the catalogue.
//
// Name operations are stateless (any thread). The catalogue is kept in the host and guarded there; its
// operations block on the network and belong on workers.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/user_interface.h"

namespace morvane {

/// One engine name: "CK", a generation digit, "Wine", a version.
class NSCaskeryEngine {
  public:
    explicit NSCaskeryEngine(std::string name) : engine(std::move(name)) {}

    std::string engine;

    /// Empty when the site cannot be reached and nothing is known yet.
    [[nodiscard]] static std::vector<std::string> getListOfAvailableEnginesOnline();
    /// The online list and the local engines, in engine order (newest first).
    [[nodiscard]] static std::vector<std::string> getListOfAvailableEngines();
    /// -1, 0 or 1; newer first.
    [[nodiscard]] static int versioningOrderOfFirstString(std::string_view first, std::string_view second);
    /// -1, 0 or 1; by character codes.
    [[nodiscard]] static int alphabeticalOrderOfFirstString(std::string_view first, std::string_view second);
    /// The order of engine lists: -1, 0 or 1; newest first, other names last.
    [[nodiscard]] static int engineOrder(std::string_view first, std::string_view second);
    [[nodiscard]] static bool isEngineVcrun2012Compatible(std::string_view name);
    /// The archive in the engine folder, by the first known extension that exists there.
    [[nodiscard]] static std::optional<std::string> localPathForEngine(const std::string& name);

    /// 8 or 9.
    [[nodiscard]] int getCaskeryMostRecentGenerationOfEngine() const;
    /// Rewrites the name; returns the object.
    NSCaskeryEngine& updateToMostRecentVersionForPortType(std::string_view portType);
    /// The name that a conversion gives an engine of the generations 5 to 7; nothing for every other name.
    [[nodiscard]] std::optional<std::string> nameAfterConversion() const;
    /// Whether `convertOldEngine` would ask: by the name, and by the "<name>.tar.7z" in the engine folder.
    [[nodiscard]] bool offersConversion() const;
    /// `convertOldEngine` (old_engine.cpp). Offers to repack the engine folder's "<name>.tar.7z", when it is
    /// of the generations 5 to 7, as an archive of generation 8, which then takes its place, and its name
    /// that of `engine`. Blocks for as long as packing takes; one conversion at a time. The old archive goes
    /// only when the new one has been unpacked; a failure is told to the user and changes nothing. On the
    /// thread of the running creation a cancellation changes nothing either, and throws `Cancelled`.
    void convertOldEngine();
    /// What that asks.
    [[nodiscard]] static Dialog conversionDialog();
    [[nodiscard]] static std::string getMiddleWord(std::string_view text);
};

}  // namespace morvane
