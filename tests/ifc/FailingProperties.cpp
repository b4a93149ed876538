#include "ifc/FailingProperties.h"

#include <gtest/gtest.h>

#include <string>

namespace velmor_tests {

PlainSet layered() {
    PlainProperty angle = plainInteger(VELMOR_WIDE("angle"), 0);
    angle.value.type = 12;
    angle.value.angle = {1, 2, 3, 4};
    const PlainSet two{plainString(VELMOR_WIDE("text"), longText(longStringLength)), plainInteger(VELMOR_WIDE("n"), 5)};
    const PlainSet three{plainComplex(VELMOR_WIDE("two"), two), plainString(VELMOR_WIDE("s"), VELMOR_WIDE("short")), angle};
    return {plainString(VELMOR_WIDE("text"), longText(longStringLength)), plainComplex(VELMOR_WIDE("three"), three),
            plainReal(VELMOR_WIDE("r"), 1.5), plainInteger(VELMOR_WIDE("n"), 6)};
}

PlainSet formerContent() {
    return {plainComplex(VELMOR_WIDE("former"), plainNest(2)), plainString(VELMOR_WIDE("former text"), longText(30))};
}

PlainSet copyAfterFailure(PlainSet set, std::size_t failedSize) {
    if (arraySize(set.size()) == failedSize)
        return {};
    for (PlainProperty& property : set)
        property.members = copyAfterFailure(property.members, failedSize);
    return set;
}

PlainProperty copyAfterFailure(PlainProperty property, std::size_t failedSize) {
    property.members = copyAfterFailure(property.members, failedSize);
    return property;
}

void failEachAllocation(const Sizes& silent, const Sizes& throwing, const std::function<Outcome(const Failure&)>& run) {
    run(Failure{100000, false}); // allocations that the first use makes once are no leak
    for (const bool andAllLater : {false, true}) {
        Sizes failed;
        for (unsigned n = 1;; ++n) {
            ASSERT_LT(n, 10000u);
            SCOPED_TRACE("allocation " + std::to_string(n) + (andAllLater ? " and all later" : ""));
            const long before = liveAllocations();
            const Outcome outcome = run(Failure{n, andAllLater});
            ASSERT_EQ(liveAllocations(), before);
            if (!outcome.failed) {
                EXPECT_FALSE(outcome.threw);
                break;
            }
            failed.insert(outcome.size);
            if (silent.count(outcome.size) == 0) {
                EXPECT_TRUE(outcome.threw) << outcome.size << " bytes";
            } else if (!andAllLater) {
                EXPECT_FALSE(outcome.threw) << outcome.size << " bytes";
            }
        }
        for (const Sizes* sizes : {&silent, &throwing})
            for (const std::size_t size : *sizes)
                EXPECT_EQ(failed.count(size), 1u) << "no allocation of " << size << " bytes";
    }
}

} // namespace velmor_tests
