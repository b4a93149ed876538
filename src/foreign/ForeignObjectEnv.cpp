#include <Velmor/ForeignObject.h>

using Velmor::EnvironmentVariables;

bool foreignobject_env_deserialize(ForeignObjectEnv_t& env) {
    env.version = EnvironmentVariables::GetInt(VELMOR_WIDE("fo_handle_version"));
    if (env.version != 1)
        return false;

    env.filename = EnvironmentVariables::GetString(VELMOR_WIDE("fo_string_filename"));
    env.module = EnvironmentVariables::GetString(VELMOR_WIDE("fo_string_module"));
    env.path = EnvironmentVariables::GetString(VELMOR_WIDE("fo_string_path"));

    for (std::size_t slot = 0; slot < Velmor::ForeignObjectStreamCount; ++slot)
        env.handles[slot] = EnvironmentVariables::GetFileStreamHandle(Velmor::ForeignObjectStreamVariables[slot]);
    return true;
}
