#pragma once

// Access to the private static functions of FileOperations: C++ does not check access in the arguments of an explicit
// instantiation.

#include <Velmor/Platform.h>

namespace velmor_tests {

struct PrivateTokenMatch {
    using Function = bool (*)(const Velmor::WideString&, const Velmor::WideChar*, unsigned);
};
struct PrivateTokenLength {
    using Function = unsigned (*)(const Velmor::WideChar*);
};
struct PrivateUpper {
    using Function = int (*)(int);
};
struct PrivateAccess {
    using Function = void (*)(const Velmor::WideString&, bool*, bool*);
};

PrivateTokenMatch::Function reach(PrivateTokenMatch);
PrivateTokenLength::Function reach(PrivateTokenLength);
PrivateUpper::Function reach(PrivateUpper);
PrivateAccess::Function reach(PrivateAccess);

template <class Member, typename Member::Function function>
struct ReachedFileOperation {
    friend typename Member::Function reach(Member) { return function; }
};

template struct ReachedFileOperation<PrivateTokenMatch, &Velmor::FileOperations::MatchExtension>;
template struct ReachedFileOperation<PrivateTokenLength, &Velmor::FileOperations::ParseExtension>;
template struct ReachedFileOperation<PrivateUpper, &Velmor::FileOperations::MyToUpper>;
template struct ReachedFileOperation<PrivateAccess, &Velmor::FileOperations::oe_file_access_core>;

} // namespace velmor_tests
