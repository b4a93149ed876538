// Replaces ifc_importer in tests. The name of the folder of the model selects what it does: succeed ("success"), fail in one
// of many ways, or write unusual records.

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

    #include <csignal>
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

// A triangle that refers to a missing vertex.
ForeignObjectSolid invalidSolid() {
    return encode(Mesh{{0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 1, 2, 0, 1, 3}});
}

// A solid of an unknown type.
ForeignObjectSolid unknownSolid() {
    return {static_cast<ForeignObjectSolid::Type_t>(7), 5, "other"};
}

// Writes objects, solids and textures with names that lead out of the folder, end a text or a line, or name a device. All
// have the same instance number.
// @return the info record for them.
InfoRecord writeHostileNames() {
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

// Writes two objects, a property set and a solid of the first object, and a problem.
// @param assignedSet index of the property set of the first object. Only index 0 is valid.
// @param secondSolid the solid of the second object; null for none.
// @return the info record for them.
InfoRecord writeModel(std::uint32_t assignedSet, const ForeignObjectSolid* secondSolid) {
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
    attributes.write(encode(Assignment{0, {assignedSet}}));
    solids.write(encode(SolidRecord{0, solid()}));
    if (secondSolid != nullptr)
        solids.write(encode(SolidRecord{1, *secondSolid}));
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

// Runs ifc_importer and terminates it after its first progress. The model must be so large that the importer needs much
// longer than this process to notice the progress.
// @return the exit code of ifc_importer.
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
// Sends the host a signal and expects to be terminated by the host. A test can read from the pipe "running" in the folder of
// the model that this process was started; it reads the end of the pipe when this process has ended.
int interruptHost(const std::string& signal) {
    std::ofstream running(std::filesystem::path(environment.path) / "running");
    running << "started" << std::flush;
    kill(getppid(), signal == "HUP" ? SIGHUP : signal == "INT" ? SIGINT : SIGTERM);
    Velmor::ThreadOperations::usleep(600000); // only ends a test that hangs
    running << ", not terminated";
    return 0;
}
#endif

// Makes the info record, or the textures stream, differ from what was written before.
void alterInfo(const std::string& mode, InfoRecord& info) {
    if (mode == "reject") {
        info.error = "line 3: expected\tsomething else";
    } else if (mode == "long-error") {
        info.error.assign(100000, 'x');
    } else if (mode == "missing-object") {
        info.objects.add(object("0StandIn0Object0000003", "IFCBEAM", "never written"));
    } else if (mode == "surplus-object") {
        info.objects = StreamTotals();
        info.objects.add(firstObject());
    } else if (mode == "altered-object") {
        ++info.objects.checksum;
    } else if (mode == "missing-set") {
        info.attributes.add(propertySet());
    } else if (mode == "surplus-set") {
        info.attributes = StreamTotals();
        info.attributes.add(propertySet());
    } else if (mode == "altered-set") {
        ++info.attributes.checksum;
    } else if (mode == "missing-solid") {
        info.solids.add(encode(SolidRecord{1, solid()}));
    } else if (mode == "surplus-solid") {
        info.solids = StreamTotals();
        info.solids.add(encode(SolidRecord{0, solid()}));
    } else if (mode == "altered-solid") {
        ++info.solids.checksum;
    } else if (mode == "missing-texture") {
        info.textures.add(encode(TextureRecord{1, "never written", {}}));
    } else if (mode == "surplus-texture") {
        openStream(Velmor::TexturesStream)->write(4, "\0\0\0\0"); // an empty record
    } else if (mode == "altered-texture") {
        ++info.textures.checksum;
    } else if (mode == "missing-problem") {
        info.problems.add(encode(ProblemRecord{1, 1, "never written"}));
    }
}

} // namespace

int main() {
    if (!foreignobject_env_deserialize(environment))
        return 98;
    const std::string mode = std::filesystem::path(environment.path).filename().string();
    if (mode == "no-output")
        return 0;
    if (mode == "kill")
        return killImporter();
#if !defined(_WIN32)
    if (mode.starts_with("interrupt-"))
        return interruptHost(mode.substr(mode.find('-') + 1));
#endif
    if (mode == "invalid-info") {
        const std::string invalid(1000, '\xFF');
        openStream(Velmor::InfoStream)->write(invalid.size(), invalid.data());
        return 0;
    }
    if (mode == "change")
        std::ofstream(std::filesystem::path(environment.filename), std::ios::app) << "changed during the import\n";
    const ForeignObjectSolid secondSolid = mode == "surplus-solid"   ? solid()
                                           : mode == "invalid-solid" ? invalidSolid()
                                                                     : unknownSolid();
    const bool hasSecondSolid = mode == "surplus-solid" || mode == "invalid-solid" || mode == "unknown-solid";
    InfoRecord info = mode == "hostile" ? writeHostileNames()
                                        : writeModel(mode == "unknown-set" ? 1 : 0, hasSecondSolid ? &secondSolid : nullptr);
    if (mode == "crash")
        std::abort();
    alterInfo(mode, info);
    try {
        std::string bytes = encode(info);
        if (mode == "old-version")
            bytes[8] = 1; // the format version
        writeInfo(bytes);
    } catch (const WriteError&) {
        return 1;
    }
    return mode == "exit-3" ? 3 : mode == "reject" ? 1 : 0;
}
