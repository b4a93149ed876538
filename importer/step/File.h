#pragma once

// A STEP file (ISO 10303-21): its text, and the position of each instance in it.

#include <Velmor/WideText.h>

#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace importer::step {

/// The code of an entity. The application assigns it; 0 is an entity that the application does not read.
using EntityCode = std::uint16_t;

/// What the caller supports: the schemas, and the codes of their entities. The STEP reader itself depends on no schema.
struct Application {
    bool (*supports)(std::string_view schema); ///< Whether a name in FILE_SCHEMA, in capitals, is a supported schema.
    const char* supportedSchemas;              ///< For messages: "IFC2X3, IFC4 or IFC4X3".
    EntityCode (*codeOf)(std::string_view entityName); ///< The code of an entity, by its name as it is in the file.
};

/// The file as a whole cannot be read. The message contains the file, the line, what was found and what was expected.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One damaged or ignored instance. Reading continues after it.
struct Problem {
    std::uint64_t line = 0;     ///< Line of the instance, from 1.
    std::uint64_t instance = 0; ///< Number of the instance; 0 if it has none.
    std::string reason;         ///< What is wrong with it, in UTF-8.
};

/// One instance of the DATA sections. Its parameters are not parsed until a caller reads them.
struct Instance {
    std::uint64_t number; ///< #123
    std::uint64_t offset; ///< Of its # in the text.
    std::uint32_t length; ///< From its # to its closing parenthesis, inclusive.
    // Any number of comments may be in between, so both positions are stored.
    std::uint32_t name;       ///< Begin of the name of its entity, from `offset`.
    std::uint32_t parameters; ///< Position of its opening parenthesis, from `offset`.
    EntityCode entity;        ///< 0 also for a complex instance, which has several entities.
};

/// A path of the library as a path of the system. A backslash separates its parts on all systems.
/// @throws std::filesystem::filesystem_error if the path is not valid text of the system.
std::filesystem::path systemPath(Velmor::WideString path);

/// A STEP file: its text, and its instances by number.
class File {
public:
    /// Takes the text of a file and finds its instances. Linear in the size of the text. If the instances are not in the
    /// order of their numbers, they are also sorted.
    /// @param name the name of the file, in UTF-8, for messages.
    /// @throws FileError if the text is not a STEP file, is cut off, has no DATA section, or has an unsupported schema.
    File(std::vector<char>&& text, std::string name, const Application& application);

    File(File&&) = default;

    /// Reads a file.
    /// @throws FileError also if the file does not exist, cannot be read, or is not a regular file.
    static File open(const Velmor::WideString& path, const Application& application);

    std::uint64_t size() const { return text_.size(); }

    /// The first name in the FILE_SCHEMA of the header, in capitals.
    const std::string& schema() const { return schema_; }

    /// All instances, by their number.
    const std::vector<Instance>& instances() const { return instances_; }

    /// The instances of these entities, in the order of the file.
    std::vector<const Instance*> instancesOf(std::span<const EntityCode> entities) const;

    /// Damaged instances, and instances whose number is already used: the first one with a number is kept. After a thousand,
    /// further problems are only counted, and the last problem contains the count.
    const std::vector<Problem>& problems() const { return problems_; }

    /// The instance with a number; null if there is none.
    const Instance* find(std::uint64_t number) const;

    /// The name of the entity as it is in the file; cut off if it is longer than any name of an entity. Empty for a complex
    /// instance.
    std::string_view nameOf(const Instance& instance) const;

    /// The text between the parentheses of an instance.
    std::string_view parametersOf(const Instance& instance) const;

    /// The line of an offset in the text, from 1.
    std::uint64_t lineAt(std::uint64_t offset) const;

    /// @throws FileError with the file, the line, what was found and what was expected there.
    [[noreturn]] void fail(std::uint64_t offset, const std::string& found, const std::string& expected) const;

private:
    struct Statement {
        const char* begin;
        const char* end; // at the semicolon
    };

    struct InstanceStart {
        const char* begin; // its #
        std::uint64_t number;
        std::string_view name;
        const char* open; // its opening parenthesis
    };

    void countLines();
    void scan();
    Statement readStatement(const char* expected);
    const char* nextInstanceLine(const char* position);
    void scanHeader();
    void readSchema(const Statement& entry);
    void scanData();
    void scanInstance();
    bool readInstanceStart(InstanceStart& start);
    void addInstance(const InstanceStart& start, const char* end);
    void addDamage(const char* instance, std::uint64_t number, const char* expected);
    bool mayAddProblem(std::uint64_t offset);
    void addCountOfOmittedProblems();
    void sortInstances();

    std::uint64_t offsetOf(const char* position) const { return static_cast<std::uint64_t>(position - text_.data()); }

    std::vector<char> text_;
    std::string name_;
    Application application_;
    const char* position_ = nullptr; // while scanning
    const char* end_ = nullptr;
    const char* instanceLine_ = nullptr; // last result of nextInstanceLine
    std::string schema_;
    std::vector<Instance> instances_;
    std::vector<Problem> problems_;
    std::uint64_t omittedProblems_ = 0;
    std::uint64_t firstOmittedProblem_ = 0;  // its offset
    std::vector<std::uint64_t> linesBefore_; // number of line ends before each block of the text
};

} // namespace importer::step
