#include "importer/exchange/InfoRecords.h"

#include <Velmor/Text.h>

#include "importer/exchange/RecordFields.h"

#include <iterator>

namespace importer::exchange {

namespace {

using Velmor::IFC4_MapConversion;
using Velmor::IFC4_MapProjection;
using Velmor::StringOperations;
using Velmor::WideString;

constexpr std::string_view infoMark = "VELMINFO";
constexpr std::uint32_t infoVersion = 3;

// The texts of a georeference in the order of the record.
constexpr const WideString& (IFC4_MapProjection::*projectionTexts[])() const = {
    &IFC4_MapProjection::getName,          &IFC4_MapProjection::getDescription,    &IFC4_MapProjection::getGeodeticDatum,
    &IFC4_MapProjection::getVerticalDatum, &IFC4_MapProjection::getProjectionType, &IFC4_MapProjection::getZone,
    &IFC4_MapProjection::getUnitName};

void appendGeoreference(std::string& out, const IFC4_MapConversion& conversion) {
    const auto& origin = conversion.getSourceOrigin();
    for (const double number : {origin.x, origin.y, origin.z, conversion.getEastings(), conversion.getNorthings(),
                                conversion.getOrthogonalHeight(), conversion.getXAxisAbscissa(),
                                conversion.getXAxisOrdinate(), conversion.getScaleToMapProjection()})
        appendReal(out, number);
    const IFC4_MapProjection& projection = conversion.getMapProjection();
    for (const auto text : projectionTexts)
        appendText(out, StringOperations::ConvertToUTF8((projection.*text)()));
    appendReal(out, projection.getScaleToMetric());
}

IFC4_MapConversion takeGeoreference(Fields& fields) {
    double numbers[9];
    for (double& number : numbers)
        number = fields.real("map conversion");
    WideString texts[std::size(projectionTexts)];
    for (WideString& text : texts) {
        const std::string_view utf8 = fields.text("projected system");
        text = StringOperations::ConvertFromUTF8(reinterpret_cast<const unsigned char*>(utf8.data()), utf8.size());
    }
    const double scaleToMetric = fields.real("scale of the projected system");
    return {{numbers[0], numbers[1], numbers[2]},
            numbers[3],
            numbers[4],
            numbers[5],
            numbers[6],
            numbers[7],
            numbers[8],
            {texts[0], texts[1], texts[2], texts[3], texts[4], texts[5], texts[6], scaleToMetric}};
}

} // namespace

std::string encode(const InfoRecord& record) {
    std::string out(infoMark);
    append(out, infoVersion, 4);
    appendText(out, record.error);
    appendText(out, record.schema);
    appendTotals(out, record.objects);
    appendTotals(out, record.attributes);
    appendTotals(out, record.solids);
    appendTotals(out, record.textures);
    appendTotals(out, record.problems);
    append(out, record.problemsOmitted, 8);
    append(out, record.objectsWithoutClass, 8);
    append(out, record.georeference ? 1 : 0, 4);
    if (record.georeference)
        appendGeoreference(out, *record.georeference);
    return out;
}

InfoRecord decodeInfo(std::string_view payload) {
    Fields fields(payload);
    fields.mark(infoMark, infoVersion);
    InfoRecord record;
    record.error = fields.text("error");
    record.schema = fields.text("schema");
    record.objects = takeTotals(fields, "totals of the objects");
    record.attributes = takeTotals(fields, "totals of the attributes");
    record.solids = takeTotals(fields, "totals of the solids");
    record.textures = takeTotals(fields, "totals of the textures");
    record.problems = takeTotals(fields, "totals of the problems");
    record.problemsOmitted = fields.u64("number of problems omitted");
    record.objectsWithoutClass = fields.u64("number of objects without a class");
    if (fields.flag("presence of a georeference"))
        record.georeference = takeGeoreference(fields);
    fields.end();
    return record;
}

} // namespace importer::exchange
