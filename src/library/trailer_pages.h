// library/trailer_pages.h: the small pages in which a trailer plays or a picture shows. Sizes are in points. Any thread;
// a page of a video asks whether there is internet.
#pragma once

#include <optional>
#include <string>

namespace morvane {

/// The page of a video or a picture, by what the link is.
[[nodiscard]] std::string trailerPageFromLink(const std::string& link, double width, double height);
/// The link stands in an attribute, with what would end it there escaped; a link that is not http or
/// https counts as none.
[[nodiscard]] std::string videoPlayerPageFromLink(const std::optional<std::string>& link, double width,
                                                  double height);
[[nodiscard]] std::string imageViewPageFromLink(const std::string& link, double width, double height);
/// The address of a still picture of the video, where its service gives one without being asked, or of the
/// picture that the link is.
[[nodiscard]] std::optional<std::string> stillPictureOfLink(const std::string& link);

}  // namespace morvane
