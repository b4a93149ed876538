// Stands in for ifc_importer and fails, or meets with something, in the way that the name of the model's folder says.

#include <Velmor/Velmor.h>

#include "importer/exchange/InfoRecords.h"
#include "importer/exchange/ObjectRecords.h"
#include "importer/exchange/ProblemRecords.h"
#include "importer/exchange/Progress.h"
#include "importer/exchange/PropertyRecords.h"
#include "importer/exchange/SolidRecords.h"
#include "importer/exchange/Streams.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#if !defined(_WIN32)
    #include <unistd.h>
#endif

namespace {

using namespace importer::exchange;
using Stream = std::unique_ptr<Velmor::FileStream>;

ForeignObjectEnv_t environment;

Stream openStream(Velmor::ForeignObjectStream_e stream) {
    return Stream(Velmor::FileStream::createFromHandle(environment.handles[stream]));
}

void writeInfo(const std::string& info) {
    const auto stream = openStream(Velmor::InfoStream);
    RecordWriter writer(*stream, "info");
    writer.write(info);
    writer.flush();
}

std::string object(const std::string& id, const std::string& className, const std::string& name) {
    ObjectRecord record;
    record.line = 1;
    record.instance = 2;
    record.globalId = Velmor::ExternalGUID::fromIFCGlobalID(id.c_str());
    record.className = className;
    record.name = name;
    return encode(record);
}

std::string firstObject() {
    return object("0StandIn0Object0000001", "IFCBEAM", "one");
}

std::string propertySet() {
    Velmor::IFC2X3_PSet_Custom_s set{};
    set.name[0] = 'P';
    set.properties.addProperty(Velmor::createPropertySingleValueBoolean(VELMOR_WIDE("flag"), VELMOR_WIDE(""), true));
    return encode(set);
}

// A tetrahedron.
ForeignObjectSolid solid() {
    return encode(Mesh{{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3}});
}

// A triangle with a vertex that is not there.
ForeignObjectSolid wildSolid() {
    return encode(Mesh{{0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 1, 2, 0, 1, 3}});
}

// A block that this program's solids are not.
ForeignObjectSolid otherSolid() {
    return {static_cast<ForeignObjectSolid::Type_t>(7), 5, "other"};
}

// Names that would lead out of the folder, end a text or a line, or mean a device. All instances have one number.
InfoRecord handOverHostileNames() {
    const std::string names[] = {"../../escaped",
                                 "..\\..\\escaped",
                                 "/tmp/escaped",
                                 "C:\\escaped",
                                 "C:escaped",
                                 "\\\\server\\share\\escaped",
                                 "..",
                                 ".",
                                 "",
                                 "CON",
                                 "nul.txt",
                                 "COM1",
                                 std::string("a\0b/../c", 8),
                                 "line\nf 1 2 3\r\nv 0 0 0\\",
                                 "stream:$DATA",
                                 "a*b?c<d>e|f\"g",
                                 "trailing. . ",
                                 "\xF0\x9F\x94\xA8\xFF\xC0\xAF",
                                 std::string(100000, 'x')};
    const auto objectsStream = openStream(Velmor::ObjectsStream);
    const auto solidsStream = openStream(Velmor::SolidsStream);
    const auto texturesStream = openStream(Velmor::TexturesStream);
    RecordWriter objects(*objectsStream, "objects");
    RecordWriter solids(*solidsStream, "solids");
    RecordWriter textures(*texturesStream, "textures");
    for (const auto& name : names) {
        solids.write(encode(SolidRecord{objects.totals().records, solid()}));
        objects.write(object("../../\n\\..\\..\\../escaped", name, name));
        textures.write(encode(TextureRecord{2, name + ".png", std::vector<char>{'p', 'n', 'g'}}));
    }
    objects.flush();
    solids.flush();
    textures.flush();
    InfoRecord info;
    info.schema = "STANDIN";
    info.objects = objects.totals();
    info.solids = solids.totals();
    info.textures = textures.totals();
    return info;
}

// Two objects, the first of them with a property set and a solid, and a problem; returns the info that belongs to them.
// @param assigned the set that the first object has, by its number.
// @param second   the solid that the second object has; null for none.
InfoRecord sink(std::uint32_t assigned, const ForeignObjectSolid* second) {
    const auto objectsStream = openStream(Velmor::ObjectsStream);
    const auto logStream = openStream(Velmor::LogStream);
    const auto attributesStream = openStream(Velmor::AttributesStream);
    const auto solidsStream = openStream(Velmor::SolidsStream);
    RecordWriter objects(*objectsStream, "objects");
    RecordWriter attributes(*attributesStream, "attributes");
    RecordWriter solids(*solidsStream, "solids");
    RecordWriter problems(*logStream, "problems");
    objects.write(firstObject());
    objects.write(object("0StandIn0Object0000002", "IFC\x1B[31m", "two\r\n"));
    attributes.write(propertySet());
    attributes.write(encode(Assignment{0, {assigned}}));
    solids.write(encode(SolidRecord{0, solid()}));
    if (second != nullptr)
        solids.write(encode(SolidRecord{1, *second}));
    problems.write(encode(ProblemRecord{7, 8, "a reason\twith a tab"}));
    objects.flush();
    attributes.flush();
    solids.flush();
    problems.flush();
    InfoRecord info;
    info.schema = "STANDIN";
    info.objects = objects.totals();
    info.attributes = attributes.totals();
    info.solids = solids.totals();
    info.problems = problems.totals();
    return info;
}

// Ends the real importer in the middle of its work. Answers its exit code.
int killImporter() {
    const auto program = std::filesystem::path(environment.module)
                             .replace_filename(
#if defined(_WIN32)
                                 "ifc_importer.exe"
#else
                                 "ifc_importer"
#endif
                             );
    const auto process =
        Velmor::ProcessOperations::createProcess(program.string<Velmor::WideChar>(), VELMOR_WIDE("ifc_importer"), true);
    if (process == Velmor::ProcessOperations::InvalidHandle())
        return 99;
    const auto stream = openStream(Velmor::ProgressStream);
    ProgressReader progress(*stream);
    unsigned exitCode = 0;
    while (!Velmor::ProcessOperations::hasEnded(process, &exitCode))
        if (progress.perMille() > 0)
            Velmor::ProcessOperations::terminateProcess(process, 77);
    Velmor::ProcessOperations::closeProcess(process);
    return static_cast<int>(exitCode);
}

#if !defined(_WIN32)
// Leaves its process id beside the model and works on and on, but not for ever.
int sleepLong() {
    const auto folder = std::filesystem::path(environment.path);
    std::ofstream(folder / "pid.new") << getpid() << std::endl;
    std::filesystem::rename(folder / "pid.new", folder / "pid");
    Velmor::ThreadOperations::usleep(120000);
    return 0;
}
#endif

} // namespace

int main() {
    if (!foreignobject_env_deserialize(environment))
        return 98;
    const auto how = std::filesystem::path(environment.path).filename().string();
    if (how == "silent")
        return 0;
    if (how == "kill")
        return killImporter();
#if !defined(_WIN32)
    if (how == "sleep")
        return sleepLong();
#endif
    if (how == "nonsense") {
        const std::string nonsense(1000, '\xFF');
        openStream(Velmor::InfoStream)->write(nonsense.size(), nonsense.data());
        return 0;
    }
    if (how == "change")
        std::ofstream(std::filesystem::path(environment.filename), std::ios::app) << "changed while it is read\n";
    const auto second = how == "surplus-solid" ? solid() : how == "wild-solid" ? wildSolid() : otherSolid();
    const bool hasSecond = how == "surplus-solid" || how == "wild-solid" || how == "other-solid";
    auto info =
        how == "hostile" ? handOverHostileNames() : sink(how == "unknown-set" ? 1 : 0, hasSecond ? &second : nullptr);
    if (how == "crash")
        std::abort();
    if (how == "refuse") {
        info.error = "line 3: expected\tsomething else";
    } else if (how == "talkative") {
        info.error.assign(100000, 'x');
    } else if (how == "missing-object") {
        info.objects.add(object("0StandIn0Object0000003", "IFCBEAM", "never written"));
    } else if (how == "surplus-object") {
        info.objects = StreamTotals();
        info.objects.add(firstObject());
    } else if (how == "altered-object") {
        ++info.objects.checksum;
    } else if (how == "missing-set") {
        info.attributes.add(propertySet());
    } else if (how == "surplus-set") {
        info.attributes = StreamTotals();
        info.attributes.add(propertySet());
    } else if (how == "altered-set") {
        ++info.attributes.checksum;
    } else if (how == "missing-solid") {
        info.solids.add(encode(SolidRecord{1, solid()}));
    } else if (how == "surplus-solid") {
        info.solids = StreamTotals();
        info.solids.add(encode(SolidRecord{0, solid()}));
    } else if (how == "altered-solid") {
        ++info.solids.checksum;
    } else if (how == "missing-texture") {
        info.textures.add(encode(TextureRecord{1, "never written", {}}));
    } else if (how == "surplus-texture") {
        openStream(Velmor::TexturesStream)->write(4, "\0\0\0\0"); // a record of no bytes
    } else if (how == "altered-texture") {
        ++info.textures.checksum;
    } else if (how == "missing-problem") {
        info.problems.add(encode(ProblemRecord{1, 1, "never written"}));
    }
    try {
        auto bytes = encode(info);
        if (how == "old")
            bytes[8] = 1; // the format version
        writeInfo(bytes);
    } catch (const WriteError&) {
        return 1;
    }
    return how == "exit-3" ? 3 : how == "refuse" ? 1 : 0;
}
