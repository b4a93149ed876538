#pragma once

// Property sets and their properties.

#include <Velmor/IFCPropertySets.h>

#include "importer/ifc/Record.h"

#include <cstdint>
#include <string>
#include <vector>

namespace importer::ifc {

/// A property set, and its name in the file: unlike that of the set it is not cut.
struct NamedSet {
    Velmor::WideString name;
    Velmor::IFC2X3_PSet_Custom_s set;
};

/// Reads the property sets of a model one after the other.
class PropertyReader {
public:
    explicit PropertyReader(IfcContext& context) : context_(context) {}

    /// Reads an IfcPropertySet. Errors are noted. If a limit is exceeded, the set has no properties.
    void read(const Instance& instance, NamedSet& result);

    /// What was not imported as it is in the file: one problem for each kind, at the first property of that kind.
    std::vector<Problem> remarks() const;

private:
    /// Kinds of remarks that are counted instead of reported for each property.
    enum Remark : std::size_t {
        EnumeratedValue,
        ListValue,
        BoundedValue,
        TableValue,
        ReferenceValue,
        ValueList,
        NoValue,
        OwnUnit,
        remarkKinds
    };

    struct Count {
        std::uint64_t properties = 0;
        const Instance* first = nullptr;
    };

    void remark(Remark remark, const Instance& instance);
    void readGlobalId(const Record& record, Velmor::IFC2X3_PSet_Custom_s& set);
    void addProperties(const Record& owner, std::size_t index, unsigned depth, Velmor::IFC2X3PropertySet& set);
    void addProperty(const Instance& instance, unsigned depth, Velmor::IFC2X3PropertySet& set);
    void addComplex(const Instance& instance, unsigned depth, Velmor::IFC2X3PropertySet& set);
    void addSingleValue(const Instance& instance, Velmor::IFC2X3PropertySet& set);
    double inRadians(const Record& record, double value);

    IfcContext& context_;
    std::uint64_t propertiesOfSet_ = 0;
    Count counts_[remarkKinds];
};

} // namespace importer::ifc
