// Writes one object, its identity and its version, to the stream that the host reads.
#include <Velmor/Velmor.h>

#include <memory>
using namespace Velmor;

int main() {
    ForeignObjectEnv_t env;
    if (!foreignobject_env_deserialize(env))
        return 2; // no host has started this program

    const ExternalGUID id = ExternalGUID::fromIFCGlobalID("2O2Fr$t4X7Zf8NOew3FLOH");
    const ExternalVersion version = createFromBoundingBox(4.0, 3.0, 0.2);

    unsigned idSize = 0;
    const char* idBytes = id.getBytes(&idSize);
    char versionBytes[124];
    const unsigned versionSize = version.toByteStream(sizeof versionBytes, versionBytes);

    const std::unique_ptr<FileStream> objects(FileStream::createFromHandle(env.handles[ObjectsStream]));
    return objects->write(idSize, idBytes) && objects->write(versionSize, versionBytes) ? 0 : 3;
}
