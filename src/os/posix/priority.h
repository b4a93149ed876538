#pragma once

namespace Velmor::os::posix {

/// BELOW_NORMAL_PRIORITY_CLASS and THREAD_PRIORITY_BELOW_NORMAL on the scale of nice.
inline constexpr int belowNormalNice = 5;

} // namespace Velmor::os::posix
