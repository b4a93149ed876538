// ifc_importer: reads an IFC model and writes its objects to the streams that a host has put into the environment.

#include <Velmor/ForeignObject.h>

#include "importer/child/StreamSink.h"
#include "importer/ifc/Model.h"

#include <cstdio>
#include <exception>
#include <string>

namespace {

enum ExitCode { Complete = 0, Failed = 1, NoEnvironment = 2 };

int fail(const char* message, ExitCode exitCode) {
    std::fprintf(stderr, "ifc_importer: %s\n", message);
    return exitCode;
}

} // namespace

int main() {
    ForeignObjectEnv_t environment;
    if (!foreignobject_env_deserialize(environment))
        return fail("the environment variables of a host are missing; start import_host", NoEnvironment);
    try {
        importer::child::StreamSink sink(environment);
        std::string error;
        try {
            importer::ifc::readIfcModel(environment.filename, sink);
            sink.flush();
        } catch (const std::exception& failure) {
            error = failure.what();
        }
        sink.finish(environment, error);
        return error.empty() ? Complete : Failed;
    } catch (const std::exception& failure) {
        // The info record could not be written. Without it, the host rejects the import.
        return fail(failure.what(), Failed);
    }
}
