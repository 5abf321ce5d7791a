#include "platform/result.h"

namespace morvane {

std::string Failure::message() const {
    std::string text = what;
    if (!why.empty()) text += (text.empty() ? "" : ": ") + why;
    if (advice.empty()) return text;
    if (!text.empty() && !text.ends_with('.') && !text.ends_with('!')) text += '.';
    return text + (text.empty() ? "" : " ") + advice;
}

}  // namespace morvane
