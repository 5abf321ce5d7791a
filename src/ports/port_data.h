// ports/port_data.h: a port description, read from a CKI file. Any thread; never changed after it was made.
//
// A key whose value has the wrong type reads as missing, for all keys alike: an element of a list that is no
// text (or no entry) is dropped, an entry with a key of the wrong type keeps the rest. A boolean reads
// numbers and texts
// (`booleanReading`), an integer reads numbers and booleans, a text reads texts only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/result.h"
#include "platform/value.h"

namespace morvane {

struct ExeEntry {
    std::string name;
    bool isMain = false;  ///< "main" is "X"
    std::string path;     ///< Windows path, with flags
    std::int64_t automatic = 0;
    bool fullscreen = false;
    std::int64_t virtualdesktop = 0;
    std::string resolution;
    std::string colours;
    std::string compatibility;
    std::optional<std::string> version;
    std::optional<ImageData> icon;
};
struct DriveEntry {
    std::string name, place, typeName;
};
struct ExtensionEntry {
    std::string app, func;
};
struct MenuEntry {
    std::string name, type, desc;
    bool operator==(const MenuEntry&) const = default;
};
struct ExtraFileEntry {
    std::optional<std::string> origin, destiny;
    bool autorun = false;
};

namespace drm {
inline constexpr unsigned steam = 1, origin = 2, uplay = 4;
}

enum class MacDriver { no, yes };

class NSPortData {
  public:
    /// The port data, or the loader's message.
    [[nodiscard]] static Result<NSPortData> initWithCkiAtPath(const std::string& path);
    /// The path may be absent.
    [[nodiscard]] static NSPortData initWithDictionary(const Dictionary& dictionary,
                                                       const std::optional<std::string>& path);
    /// A blank port, or nothing without a name or engine.
    [[nodiscard]] static std::optional<NSPortData> customPortAtPath(const std::string& wrapper,
                                                                    const std::string& engine, unsigned drms,
                                                                    MacDriver macDriver);
    /// The dictionary of that blank port. Without the application's picture of a blank port there is no icon.
    [[nodiscard]] static std::optional<Dictionary> customPortDictionary(const std::string& wrapper,
                                                                        const std::string& engine,
                                                                        unsigned drms, MacDriver macDriver);
    [[nodiscard]] static std::vector<std::string> winetricksWithObject(const Value* object);
    [[nodiscard]] static Array overridesFromCKI(const Dictionary& cki);
    [[nodiscard]] static bool checkIfCKI(const Dictionary& cki, const std::optional<std::string>& path,
                                         std::string_view drmName);
    [[nodiscard]] bool ckiVersionIsAtLeast(std::string_view version) const;

    /// Whether it says who made it.
    [[nodiscard]] bool isSigned() const { return creator && creatorMail; }

    std::string recipe;  ///< SHA-256 of the file that it was read from, or of the choices; may be empty
    std::optional<std::string> ckiVersion, creator, creatorMail, source, portType, engine, engineCustomLink,
        company;
    std::optional<std::vector<MenuEntry>> portMenu;
    std::optional<std::vector<DriveEntry>> drives;
    std::optional<std::vector<ExtensionEntry>> supportedExtensions;
    bool useMacDriver = false, decorateWindows = false, useDirect3DBoost = false;
    std::vector<std::string> winetricks;
    std::vector<ExeEntry> exes;
    std::vector<ExtraFileEntry> extraFilesBeforeInstaller, extraFilesAfterInstaller;
    bool originalInstallerNeeded = false;
    std::optional<std::string> originalInstallerName;
    bool emulateThreeButtonsMouse = false, optionKeyWorksAsAlt = false, closePortNicely = false,
         singleCpuMode = false, decorateWindowWithQuartz = false, useXQuartz = false, maxFiles10240 = false;
    Array overrides;
    bool isSteam = false, isOrigin = false, isUplay = false, isGogGalaxy = false,
         fnToggleDefaultValue = false;
};

/// Component by component as numbers; a missing version has no components.
[[nodiscard]] bool ckiVersion(const std::optional<std::string>& version, std::string_view least);

/// A number other than 0, true, or a text that reads as true.
[[nodiscard]] bool booleanReading(const Value* value);

namespace NSUtilities {

/// The root object, always a dictionary, or a message; the type label is "CKI" or "CKII". A root of any other
/// kind is an invalid format.
[[nodiscard]] Result<Value> loadArchivedObjectFromFile(const std::string& path, const std::string& type);
/// Nothing for damaged archives.
[[nodiscard]] std::optional<Value> safeUnarchiveObjectWithData(std::string_view bytes);

}  // namespace NSUtilities
}  // namespace morvane
