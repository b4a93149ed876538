#pragma once

// A STEP file (ISO 10303-21): its text, kept once, and where in it each instance stands.

#include <Velmor/WideText.h>

#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace importer::step {

/// The code that a schema gives an entity; 0 for an entity that its reader does not need.
using EntityCode = std::uint16_t;

/// What the schemas of a file must be, and how its entities are coded: the part of a STEP file that its application defines.
struct Application {
    bool (*supports)(std::string_view schema); ///< Whether a name in FILE_SCHEMA, in capitals, is a supported schema.
    const char* supportedSchemas;              ///< For messages: "IFC2X3, IFC4 or IFC4X3".
    EntityCode (*codeOf)(std::string_view entityName); ///< The code of an entity, by its name as it is in the file.
};

/// The file cannot be read as a whole. The message names the file, the line, what was found and what was expected.
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

/// One instance of the DATA sections. Its parameters are looked at only when somebody asks.
struct Instance {
    std::uint64_t number; ///< #123
    std::uint64_t offset; ///< Of its # in the text.
    std::uint32_t length; ///< Up to behind its closing parenthesis.
    // Kept, since between these any number of comments may stand.
    std::uint32_t name;       ///< Where its entity's name begins, from `offset`.
    std::uint32_t parameters; ///< Where its opening parenthesis stands, from `offset`.
    EntityCode entity;        ///< 0 also for an instance of several leaves.
};

/// A path of the library as one of the system: a backslash separates its parts, too.
/// @throws std::filesystem::filesystem_error for one that is no text of the system.
std::filesystem::path systemPath(Velmor::WideString path);

/// A STEP file: its text, and its instances by number.
class File {
public:
    /// Takes a file's text and looks up its instances.
    /// @param name the file's name, in UTF-8, for messages.
    /// @throws FileError when this is no STEP file, is cut off, has no DATA section, or has a schema that is not supported.
    File(std::vector<char>&& text, std::string name, const Application& application);

    File(File&&) = default;

    /// Reads a file.
    /// @throws FileError also when there is no such file, it cannot be read, or it is no regular file.
    static File open(const Velmor::WideString& path, const Application& application);

    std::uint64_t size() const { return text_.size(); }

    /// The first name in the header's FILE_SCHEMA, in capitals.
    const std::string& schema() const { return schema_; }

    /// All instances, by their number.
    const std::vector<Instance>& instances() const { return instances_; }

    /// The instances of these entities, in the order of the file.
    std::vector<const Instance*> instancesOf(std::span<const EntityCode> entities) const;

    /// What is wrong with single instances: no syntax, or a number given twice. Of those the first one counts. Beyond a
    /// thousand they are only counted, and the last problem says so.
    const std::vector<Problem>& problems() const { return problems_; }

    /// The instance of a number; null when there is none.
    const Instance* find(std::uint64_t number) const;

    /// The entity's name as it stands in the file, or its beginning if it is longer than any; empty for an instance of
    /// several leaves.
    std::string_view nameOf(const Instance& instance) const;

    /// What stands between the parentheses of an instance.
    std::string_view parametersOf(const Instance& instance) const;

    /// Line of a place in the text, from 1.
    std::uint64_t lineAt(std::uint64_t offset) const;

    /// @throws FileError with file, line, and what was found and expected there.
    [[noreturn]] void fail(std::uint64_t offset, const std::string& found, const std::string& expected) const;

private:
    struct Statement {
        const char* begin;
        const char* end; // at the semicolon
    };

    void countLines();
    void scan();
    Statement statement(const char* expected);
    const char* instanceLineBehind(const char* position);
    void scanHeader();
    void scanData();
    void scanInstance();
    void damaged(const char* instance, std::uint64_t number, const char* expected);
    bool mayTellProblemAt(std::uint64_t offset);
    void tellMoreProblems();
    void orderInstances();

    std::uint64_t offsetOf(const char* position) const { return static_cast<std::uint64_t>(position - text_.data()); }

    std::vector<char> text_;
    std::string name_;
    Application application_;
    const char* position_ = nullptr; // while scanning
    const char* end_ = nullptr;
    const char* instanceLine_ = nullptr; // the last answer of instanceLineBehind
    std::string schema_;
    std::vector<Instance> instances_;
    std::vector<Problem> problems_;
    std::uint64_t moreProblems_ = 0;         // not kept
    std::uint64_t firstMoreProblem_ = 0;     // offset of the first of those
    std::vector<std::uint64_t> linesBefore_; // per block of the text
};

} // namespace importer::step
