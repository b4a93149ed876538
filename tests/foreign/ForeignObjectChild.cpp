// A child importer: collects its streams, checks what the parent wrote to each, and answers on it. Its exit code tells how
// it went: 0, 10 + version for another version, 40 + slot for a stream that is not as it should be.

#include <Velmor/ForeignObject.h>
#include <Velmor/Platform.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

/// The strings of the record are ASCII here.
std::string narrow(const Velmor::WideString& text) {
    std::string result;
    for (const Velmor::WideChar unit : text) {
        result += static_cast<char>(unit);
    }
    return result;
}

bool answer(HANDLE handle, std::size_t slot, const std::string& strings) {
    const std::string question = "question " + std::to_string(slot) + "\n";
    const std::string reply = "answer " + std::to_string(slot) + " to " + strings + "\n";
    {
        const std::unique_ptr<Velmor::FileStream> stream(Velmor::FileStream::createFromHandle(handle));
        std::vector<char> block;
        if (!stream->read(100, block) || std::string(block.begin(), block.end()) != question ||
            !stream->write(reply.size(), reply.data())) {
            return false;
        }
    }
    // The first stream did not close the handle.
    const std::unique_ptr<Velmor::FileStream> again(Velmor::FileStream::createFromHandle(handle));
    return again->write(4, "end\n");
}

} // namespace

int main() {
    ForeignObjectEnv_t env{};
    if (!foreignobject_env_deserialize(env)) {
        return 10 + env.version;
    }
    const std::string strings = narrow(env.filename) + "," + narrow(env.module) + "," + narrow(env.path);
    for (std::size_t slot = 0; slot < Velmor::ForeignObjectStreamCount; ++slot) {
        if (!answer(env.handles[slot], slot, strings)) {
            return 40 + static_cast<int>(slot);
        }
    }
    return 0;
}
