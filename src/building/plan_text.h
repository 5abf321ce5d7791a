// building/plan_text.h: a build's plan as a person or a program reads it. Any thread.
#pragma once

#include <functional>
#include <string>

#include "building/build_plan.h"
#include "platform/user_interface.h"
#include "platform/value.h"

namespace morvane {

/// How the front end takes the answer to a question beforehand: the option to write.
using OptionOf = std::function<std::string(const ForeseenQuestion&)>;
/// For a person, with line ends.
[[nodiscard]] std::string shown(const BuildPlan& plan, const OptionOf& optionOf);
/// For a program: the same fields under the same names.
[[nodiscard]] Value asValue(const BuildPlan& plan, const OptionOf& optionOf);

}  // namespace morvane
