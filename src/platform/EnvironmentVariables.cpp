#include <Velmor/Platform.h>
#include <Velmor/Text.h>

#include "diagnostics/Diagnostics.h"
#include "os/os.h"
#include "text/Decimal.h"

#include <cstdlib>
#include <limits>
#include <memory>
#include <type_traits>

namespace Velmor {

using namespace diagnostics;

namespace {

/// A heap buffer for one long text. It has one unit more than the capacity for the system, so that the text is always
/// terminated.
class LongText {
public:
    static constexpr unsigned capacity = 32767;

    LongText() : text_(static_cast<WideChar*>(std::malloc((capacity + 1) * sizeof(WideChar)))) {
        if (text_ != nullptr) {
            text_[0] = 0; // an empty text if the system writes nothing
            text_[capacity] = 0;
        }
    }

    /// Null if memory is exhausted.
    WideChar* data() { return text_.get(); }

private:
    struct Free {
        void operator()(WideChar* text) const { std::free(text); }
    };
    std::unique_ptr<WideChar[], Free> text_;
};

/// The value of a variable in a buffer of fixed capacity; empty if it does not fit.
template <unsigned Capacity>
struct ShortText {
    explicit ShortText(const WideString& name) : length(os::getEnvironmentVariable(name.c_str(), text, Capacity)) {
        if (length >= Capacity)
            text[0] = 0; // Win32 does not specify the content of a buffer that is too small
    }

    WideChar text[Capacity] = {};
    unsigned length; ///< The length, or the required capacity if the value does not fit.
};

/// Formats a number in decimal.
template <class Integer>
WideString formatDecimal(Integer value) {
    using Magnitude = std::make_unsigned_t<Integer>;
    Magnitude magnitude = static_cast<Magnitude>(value);
    if (value < 0)
        magnitude = Magnitude{0} - magnitude;
    WideString text;
    do {
        text.insert(text.begin(), static_cast<WideChar>('0' + static_cast<int>(magnitude % 10)));
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0)
        text.insert(text.begin(), VELMOR_WIDE('-'));
    return text;
}

} // namespace

WideString EnvironmentVariables::ExpandVariables(const WideString& text) {
    LongText expanded;
    if (expanded.data() == nullptr)
        return {};
    // Frozen: the result is not checked; a longer expansion is unspecified.
    os::expandEnvironmentStrings(text.c_str(), expanded.data(), LongText::capacity);
    return expanded.data();
}

WideString EnvironmentVariables::GetString(const WideString& name) {
    LongText value;
    if (value.data() == nullptr || os::getEnvironmentVariable(name.c_str(), value.data(), LongText::capacity) == 0)
        return {};
    return value.data();
}

void EnvironmentVariables::SetString(const WideString& name, const WideString& value) {
    os::setEnvironmentVariable(name.c_str(), value.c_str());
}

int EnvironmentVariables::GetInt(const WideString& name) {
    return StringOperations::IntFromWString(ShortText<20>(name).text);
}

void EnvironmentVariables::SetInt(const WideString& name, int value) {
    SetString(name, formatDecimal(value));
}

HANDLE EnvironmentVariables::GetFileStreamHandle(const WideString& name) {
    const ShortText<1024> value(name);
    // Frozen: the limit is the size of the buffer in bytes, so a text of 1,024 to 2,046 units is a null handle.
    if (value.length == 0 || value.length > 2047) {
        static ReportOnce once;
        once([&] {
            reportDiagnostic(diagnosticLevel, "No handle for %s\n", StringOperations::ConvertToCurrentLocale(name).c_str());
        });
        return os::invalidHandle();
    }
    const std::int64_t number = text::integerFromText(value.text, std::numeric_limits<std::int64_t>::max());
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(number));
}

void EnvironmentVariables::SetFileStreamHandle(const WideString& name, HANDLE handle) {
    SetString(name, formatDecimal(static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(handle))));
}

} // namespace Velmor
