// A child importer. It reads the environment, checks the question that its parent wrote to each stream, and writes a reply
// to the same stream. Exit code: 0 for success, 10 + version for an unsupported version, 40 + slot for a stream that failed.

#include <Velmor/ForeignObject.h>
#include <Velmor/Platform.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int unsupportedVersion = 10;
constexpr int failedStream = 40;

/// The strings of this environment are ASCII.
std::string narrow(const Velmor::WideString& text) {
    std::string result;
    for (const Velmor::WideChar unit : text)
        result += static_cast<char>(unit);
    return result;
}

bool reply(HANDLE handle, std::size_t slot, const std::string& strings) {
    const std::string question = "question " + std::to_string(slot) + "\n";
    const std::string answer = "answer " + std::to_string(slot) + " to " + strings + "\n";
    {
        const std::unique_ptr<Velmor::FileStream> stream(Velmor::FileStream::createFromHandle(handle));
        std::vector<char> block;
        if (!stream->read(100, block) || std::string(block.begin(), block.end()) != question ||
            !stream->write(answer.size(), answer.data()))
            return false;
    }
    // The destructor of a stream that was created from a handle leaves the handle open.
    const std::unique_ptr<Velmor::FileStream> again(Velmor::FileStream::createFromHandle(handle));
    return again->write(4, "end\n");
}

} // namespace

int main() {
    ForeignObjectEnv_t env{};
    if (!foreignobject_env_deserialize(env))
        return unsupportedVersion + env.version;
    const std::string strings = narrow(env.filename) + "," + narrow(env.module) + "," + narrow(env.path);
    for (std::size_t slot = 0; slot < Velmor::ForeignObjectStreamCount; ++slot)
        if (!reply(env.handles[slot], slot, strings))
            return failedStream + static_cast<int>(slot);
    return 0;
}
