#pragma once

namespace Velmor::os::posix {

/// The nice value of BELOW_NORMAL_PRIORITY_CLASS and THREAD_PRIORITY_BELOW_NORMAL.
inline constexpr int belowNormalNice = 5;

} // namespace Velmor::os::posix
