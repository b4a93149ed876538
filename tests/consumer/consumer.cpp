// Uses one class of each family in the installed package. Values, texts and memory are passed to and from the library.

#include <Velmor/Velmor.h>

#include <cstdio>
#include <cstring>

namespace {

bool identityWorks() {
    Velmor::ExternalGUIDDatabase database;
    const Velmor::ExternalGUID guid = Velmor::ExternalGUID::fromIFCGlobalID("0123456789ABCDEFGHIJKL");
    const Velmor::ExternalGUIDRuntimeID_e id = database.insertGUID(guid);
    return id == Velmor::FirstKeyedRuntimeID &&
           std::strcmp(database.findGUID(id).getIFCGlobalID(), "0123456789ABCDEFGHIJKL") == 0;
}

bool versionWorks() {
    const Velmor::ExternalVersion version = Velmor::createFromBoundingBox(1.0, 2.0, 3.0);
    return version == version && version.similarity(version) == 1.0;
}

bool textWorks() {
    const Velmor::WideString text =
        Velmor::StringOperations::ConvertFromUTF8(reinterpret_cast<const unsigned char*>("\xC3\xA9t\xC3\xA9"));
    return text.size() == 3 && Velmor::StringOperations::ConvertToUTF8(text) == "\xC3\xA9t\xC3\xA9";
}

bool platformWorks() {
    Velmor::CriticalSection section;
    const Velmor::CriticalSection::Lock lock(&section);
    Velmor::EnvironmentVariables::SetInt(VELMOR_WIDE("fo_handle_version"), 1);
    ForeignObjectEnv_t environment{};
    return foreignobject_env_deserialize(environment) && environment.version == 1 && environment.filename.empty();
}

} // namespace

int main() {
    if (!identityWorks() || !versionWorks() || !textWorks() || !platformWorks()) {
        std::puts("the package failed");
        return 1;
    }
    std::puts("the package works");
    return 0;
}
