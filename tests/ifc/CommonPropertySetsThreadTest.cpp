#include "ifc/OnThreads.h"
#include "ifc/PropertySetStructure.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Velmor;
using namespace velmor_tests;

TEST(CommonPropertySetThreads, ConvertsOneStructureOnSeveralThreads) {
    const SetTable& table = setTableOf("DoorWindowGlazingType");
    Structure structure(table);
    structure.fill();
    const std::vector<Property> expected = structure.expected();
    std::vector<IFC2X3_PSet_Custom_s> records(threadCount, IFC2X3_PSet_Custom_s(IFC2X3_PSet_RoofCommon_s{}));
    onThreads([&](unsigned thread) {
        for (int i = 0; i < 50; ++i)
            records[thread] = table.convert(structure.bytes());
    });
    for (const IFC2X3_PSet_Custom_s& record : records)
        expectRecord(record, table.setName, expected);
}
