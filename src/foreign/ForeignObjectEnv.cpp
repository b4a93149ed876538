#include <Velmor/ForeignObject.h>

// The environment is the contract between a host and its child importer:
//
//     fo_handle_version       1, in decimal
//     fo_string_filename      text as it is, without quotes
//     fo_string_module        text as it is, without quotes
//     fo_string_path          text as it is, without quotes
//     fo_handle_<stream>      handle value in signed decimal; sixteen of them, in ForeignObjectStreamVariables
//
// The child inherits the handles with the environment, so a value is valid in both processes.

using Velmor::EnvironmentVariables;

bool foreignobject_env_deserialize(ForeignObjectEnv_t& env) {
    env.version = EnvironmentVariables::GetInt(VELMOR_WIDE("fo_handle_version"));
    if (env.version != 1)
        return false; // the other fields keep their values

    env.filename = EnvironmentVariables::GetString(VELMOR_WIDE("fo_string_filename"));
    env.module = EnvironmentVariables::GetString(VELMOR_WIDE("fo_string_module"));
    env.path = EnvironmentVariables::GetString(VELMOR_WIDE("fo_string_path"));

    for (std::size_t slot = 0; slot < Velmor::ForeignObjectStreamCount; ++slot)
        env.handles[slot] = EnvironmentVariables::GetFileStreamHandle(Velmor::ForeignObjectStreamVariables[slot]);
    return true; // Frozen: missing strings and handles are no failure, and handles are not validated.
}
