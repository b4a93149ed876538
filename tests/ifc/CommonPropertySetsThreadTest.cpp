#include "ifc/PropertySetTemplates.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

TEST(CommonPropertySetThreads, OneStructureConvertsOnSeveralThreads) {
    const Template& kind = templates()[4];
    Structure structure(kind);
    structure.fill();
    const std::vector<Property> expected = structure.expected();
    std::vector<IFC2X3_PSet_Custom_s> records(4, IFC2X3_PSet_Custom_s(IFC2X3_PSet_RoofCommon_s{}));
    std::vector<std::thread> threads;
    for (IFC2X3_PSet_Custom_s& record : records)
        threads.emplace_back([&] {
            for (int i = 0; i < 50; ++i)
                record = kind.convert(structure.bytes());
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const IFC2X3_PSet_Custom_s& record : records)
        expectRecord(record, kind.setName, expected);
}
