#include "Table.h"

#include <vector>

namespace velmor_tests {

using Velmor::WideChar;
using Velmor::WideString;

namespace {

using Texts = std::vector<WideString>;

const Texts names{
    VELMOR_WIDE(""),          VELMOR_WIDE("a"),         VELMOR_WIDE("ifc"),          VELMOR_WIDE(".ifc"),
    VELMOR_WIDE("model.ifc"), VELMOR_WIDE("model.IFC"), VELMOR_WIDE("model.ifczip"), VELMOR_WIDE("model.iFcZiP"),
    VELMOR_WIDE("a.dwg"),     VELMOR_WIDE("a.dwg "),    VELMOR_WIDE("modelifc"),     VELMOR_WIDE("zip"),
    VELMOR_WIDE("m.\u00E9"),  VELMOR_WIDE("m.\u00C9"),  VELMOR_WIDE("m.|"),          VELMOR_WIDE("@.[`{"),
};

const Texts lists{
    VELMOR_WIDE(""),
    VELMOR_WIDE("*.ifc"),
    VELMOR_WIDE("*.ifc|*.ifczip"),
    VELMOR_WIDE("*.ifczip|*.ifc"),
    VELMOR_WIDE("|*.dwg"),
    VELMOR_WIDE("*.dwg|"),
    VELMOR_WIDE("*.ifc||*.dwg"),
    VELMOR_WIDE("|"),
    VELMOR_WIDE("||"),
    VELMOR_WIDE("*"),
    VELMOR_WIDE("*.*"),
    VELMOR_WIDE("x|*.dwg"),
    VELMOR_WIDE("?.DWG"),
    VELMOR_WIDE("*.\u00E9"),
    VELMOR_WIDE("*.\u00C9|*.ifc"),
    VELMOR_WIDE("*.`{[@"),
    WideString(VELMOR_WIDE("*.ifc\0|*.dwg"), 12),
    WideString(1, WideChar{0}),
};

} // namespace

void printMatches() {
    for (const WideString& list : lists)
        for (const WideString& name : names)
            print("match " + shown(name) + " " + shown(list) + " " + (matches(name, list) ? "true" : "false"));
    Sequence random(2);
    const WideString letters = VELMOR_WIDE("aAbB.*|z{@\u00E9");
    for (int i = 0; i < 1500; ++i) {
        WideString name;
        for (std::size_t count = random.below(5); count > 0; --count)
            name += random.of(letters);
        WideString list;
        for (std::size_t count = random.below(8); count > 0; --count)
            list += random.of(letters);
        print("match " + shown(name) + " " + shown(list) + " " + (matches(name, list) ? "true" : "false"));
    }
}

} // namespace velmor_tests
