// library/game_data.h: one game as its page shows it: a port of the catalogue, or something installed.
//
// Any thread; an entry is filled while it is made and then only read. What is loaded on first use (ratings,
// icon) is guarded. Making a catalogue entry, its ratings and its icon block on the network.
//
// Answers of the catalogue and archives in wrappers come from strangers: a field that is missing or of the
// wrong type reads as absent. Only http and https links are embedded in pages; descriptions keep links of
// these and of the schemes "mvid" and "morvane".
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "library/catalogue_line.h"
#include "library/game_ratings.h"
#include "platform/annotations.h"
#include "platform/value.h"

namespace morvane {

class NSGameData {
  public:
    /// A catalogue entry, or null without a line. One request to the catalogue.
    [[nodiscard]] static std::shared_ptr<NSGameData> initWithDictionary(
        const std::optional<CatalogueLine>& line);
    /// The same with the catalogue's answer for the line; no request.
    [[nodiscard]] static std::shared_ptr<NSGameData> initWithDescription(const CatalogueLine& line,
                                                                         std::string_view answer);
    /// A local item, or null when nothing exists at the path. Reports a description file that cannot be read.
    [[nodiscard]] static std::shared_ptr<NSGameData> initWithPath(const std::string& path);
    /// 1 when none is known.
    [[nodiscard]] static std::int64_t getIdentifierOfGameAtPath(const std::string& wrapper);

    std::string gamePath;  ///< on disk, or the port's folder on the server, ending in "/"
    std::optional<std::string> trailer;
    std::string crossoverAlternative;
    /// What is kept with an installed wrapper: "ID", "Description", "Trailer", "CrossOverLink" and one
    /// "%@ Link" a source; of a local item whatever its file holds. Nothing for a corrupted entry and an item
    /// without such a file.
    std::optional<Dictionary> descriptionDictionary;
    std::int64_t gameID = 0;  ///< below 2: not known
    std::string gameName;
    std::optional<StyledText> gameDescription;
    std::vector<std::string> gameSourcesList;
    std::vector<std::string> gameGenresList;
    bool isGameInTheServer = false;
    bool isGameFree = false;
    bool isGameNative = false;
    std::int32_t gameDependencyID = 0;  ///< 0: none
    bool isCustomEXE = false;
    bool isBoxerGame = false;

    GameRatings ratings{gameID};

    /// The icon, loaded on first use: an empty picture when the server has none, nothing when the bundle has
    /// none (the next use tries again).
    [[nodiscard]] std::optional<ImageData> gameImage();

    /// Points.
    [[nodiscard]] std::string trailerHTMLwithSize(double width, double height) const;

  private:
    void readDescription(std::string_view answer);
    void readDescriptionFile();
    [[nodiscard]] std::optional<ImageData> loadImage() const;

    Mutex mutex_;
    std::optional<ImageData> image_ MV_GUARDED_BY(mutex_);
};

/// `serverAppsBuffer`: the entries of the catalogue that have been read.
namespace entry_buffer {

/// The entry kept for the catalogue ID, or null.
[[nodiscard]] std::shared_ptr<NSGameData> entryOf(std::int64_t id);
/// An entry whose description could not be loaded is not kept: the next click asks again.
void keep(std::int64_t id, std::shared_ptr<NSGameData> entry);
void clear();

}  // namespace entry_buffer

}  // namespace morvane
