// building/agreement.h: the license agreement.
#pragma once

namespace morvane {

/// Any thread; asked every time.
[[nodiscard]] bool doYouAgreeWithTheLicenseAgreement();
/// Main thread.
[[nodiscard]] bool agreement();

}  // namespace morvane
