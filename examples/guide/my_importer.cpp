#include <Velmor/Velmor.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

using namespace Velmor;

// One object in the objects stream. Importer and host agree on this layout.
struct Record {
    char identity[96];
    std::uint32_t versionSize;
    char version[124];
};

// Writes one plate. Its corners are consecutive triples x, y, z in meters.
static bool writeObject(FileStream& out, const char* globalId, std::vector<double> corners) {
    // A spatial hash leaves out the last vertex of its list, so repeat the first one at the end.
    corners.insert(corners.end(), {corners[0], corners[1], corners[2]});
    const unsigned count = static_cast<unsigned>(corners.size() / 3);
    const ExternalGUID hash = ExternalGUID::spatialHashFromVertexes(count, corners.data());
    const ExternalGUID id = globalId != nullptr ? ExternalGUID::fromIFCGlobalID(globalId) : hash;

    // The eight octant radii are useful distances: they stay the same when an object only moves.
    double distances[8];
    for (int octant = 0; octant < 8; ++octant)
        distances[octant] = hash.getSpatialHash()[3 + octant];
    const ExternalVersion version = createFromGeometry(4.0, 3.0, 0.0, distances);

    Record record = {};
    unsigned size = 0;
    const char* bytes = id.getBytes(&size);
    std::memcpy(record.identity, bytes, size);
    record.versionSize = version.toByteStream(sizeof record.version, record.version);
    char stream[sizeof record];
    std::memcpy(stream, &record, sizeof record);
    return out.write(sizeof stream, stream);
}

int main() {
    ForeignObjectEnv_t env;
    if (!foreignobject_env_deserialize(env))
        return 2; // no host has started this program, or its contract has another version

    const std::unique_ptr<FileStream> objects(FileStream::createFromHandle(env.handles[ObjectsStream]));
    bool written = writeObject(*objects, "2O2Fr$t4X7Zf8NOew3FLOH", {0, 0, 0, 4, 0, 0, 4, 3, 0, 0, 3, 0});
    written = written && writeObject(*objects, nullptr, {9, 0, 0, 13, 0, 0, 13, 3, 0, 9, 3, 0});
    return written ? 0 : 3;
}
