#pragma once

// The code pages that this system supports, by their Windows numbers and by the charset names of locales.

#include <Velmor/WideText.h>

namespace Velmor::os::posix {

/// CP_UTF8.
inline constexpr unsigned utf8CodePage = 65001;

/// A code page other than UTF-8. All of them are extensions of ASCII.
struct CodePage {
    unsigned number;       ///< The number in Windows.
    const char* converter; ///< The iconv name of the charset with this Windows number.
    /// The private-use character of the first undefined byte from 0xA0 on; the next undefined bytes have the next
    /// characters. 0 if undefined bytes become the default character.
    WideChar privateUse;
    WideChar defaultWide;         ///< The default character: replaces undefined double bytes.
    bool allLeadsDefined = false; ///< All bytes from 0x81 to 0xFE are lead bytes, also those without a defined character.
};

/// Finds a code page by its number.
/// @return null if it is not supported, and for UTF-8.
const CodePage* findCodePage(unsigned number);

/// Returns the code page of a charset of a locale. UTF-8 for an unknown charset and for the charset of the C locale.
unsigned codePageOfCharset(const char* charset);

} // namespace Velmor::os::posix
