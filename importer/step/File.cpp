// The scanner. It walks over the text once, from statement to statement, and records for each instance its number, its
// entity and its position (32 bytes). Parameters are skipped, not parsed.
//
// Statements end at a semicolon outside of texts and comments. Only the frame of the file must be intact: ISO-10303-21,
// HEADER with FILE_SCHEMA, DATA, ENDSEC and END-ISO-10303-21. Any error there throws FileError, and so does a file that ends
// too early: a file that was cut off must not be mistaken for a smaller model.
//
// An instance with an error is skipped and reported as a problem; scanning continues after the next semicolon. The difficult
// case is a text without its closing apostrophe: it would extend over the following instances up to the next apostrophe.
// Therefore the search for the end of an instance stops at a line that begins with "#1=". If a text or a binary is open
// there, the instance is damaged and scanning continues at that line. If a comment is open there, the line is part of the
// comment, and the search is repeated without that limit. The search for these lines only moves forward, so the whole scan
// is linear.
//
// Line numbers are needed only for messages and products: the number of line ends is stored per block of 4 KiB, and counted
// within the block on request.

#include "importer/step/File.h"

#include <Velmor/Platform.h>
#include <Velmor/Text.h>

#include "importer/step/Lexer.h"
#include "importer/step/Text.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>

namespace importer::step {

namespace {

constexpr std::size_t readBlock = 1 << 20;
constexpr std::size_t lineBlock = 1 << 12;

constexpr const char* fileBegin = "ISO-10303-21";
constexpr const char* fileEnd = "END-ISO-10303-21";

/// Further problems are only counted: a problem takes more memory than a damaged instance takes in the file.
constexpr std::size_t maxProblems = 1000;

/// Longer than the name of any entity.
constexpr std::uint32_t maxNameLength = 100;

/// The name at the beginning of a statement.
std::string_view keywordAt(const char* position, const char* end) {
    const char* last = position;
    while (last != end && (isNameCharacter(*last) || *last == '-'))
        ++last;
    return {position, static_cast<std::size_t>(last - position)};
}

/// The keyword at the beginning of a statement, in capitals: keywords of sections and of the header may be in any case.
std::string keywordInCapitals(const char* position, const char* end) {
    return capitals(keywordAt(position, end));
}

/// The text between the parentheses at `position`; empty if there are none.
std::string_view parametersAt(const char* position, const char* end) {
    position = skipBlanks(position, end);
    if (position == end || *position != '(')
        return {};
    const ParametersEnd last = findParametersEnd(position, end);
    return last.how == ParametersEnd::Closed
               ? std::string_view(position + 1, static_cast<std::size_t>(last.position - position - 2))
               : std::string_view();
}

/// Whether the path exists and is not a regular file. Opening or reading a pipe or a device may block forever.
bool isSpecial(const Velmor::WideString& path) {
    try {
        const std::filesystem::file_status status = std::filesystem::status(systemPath(path));
        return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
    } catch (const std::filesystem::filesystem_error&) {
        return false; // opening the file fails too, without blocking
    }
}

/// The beginning of the text at `position`, for a message.
std::string quoted(const char* position, const char* end) {
    constexpr std::ptrdiff_t maxLength = 30;
    std::string result = "'";
    for (const char* last = position + std::min(maxLength, end - position); position != last && *position != '\n';
         ++position)
        result += *position >= ' ' && *position <= '~' ? *position : '?';
    return result + "'";
}

} // namespace

std::filesystem::path systemPath(Velmor::WideString path) {
#if !defined(_WIN32)
    std::replace(path.begin(), path.end(), VELMOR_WIDE('\\'), VELMOR_WIDE('/'));
#endif
    return path;
}

File::File(std::vector<char>&& text, std::string name, const Application& application)
    : text_(std::move(text)), name_(std::move(name)), application_(application) {
    countLines();
    scan();
    sortInstances();
    addCountOfOmittedProblems();
}

File File::open(const Velmor::WideString& path, const Application& application) {
    const std::string name = Velmor::StringOperations::ConvertToUTF8(path);
    if (isSpecial(path))
        throw FileError(name + ": not a regular file; expected a STEP file (ISO 10303-21)");
    const std::unique_ptr<Velmor::FileStream> stream(Velmor::FileStream::openFileForReading(path));
    if (stream->getHandle() == Velmor::ProcessOperations::InvalidHandle())
        throw FileError(name + ": cannot be opened; expected a STEP file (ISO 10303-21)");
    std::vector<char> text;
    std::error_code unknown;
    const std::uintmax_t size = std::filesystem::file_size(systemPath(path), unknown);
    if (!unknown)
        text.reserve(static_cast<std::size_t>(size) + 1);
    std::vector<char> block;
    do {
        if (!stream->read(readBlock, block))
            throw FileError(name + ": cannot be read after byte " + std::to_string(text.size()) +
                            "; expected a STEP file (ISO 10303-21)");
        text.insert(text.end(), block.begin(), block.end());
    } while (!block.empty());
    return File(std::move(text), name, application);
}

std::vector<const Instance*> File::instancesOf(std::span<const EntityCode> entities) const {
    std::vector<const Instance*> result;
    for (const Instance& instance : instances_)
        if (std::find(entities.begin(), entities.end(), instance.entity) != entities.end())
            result.push_back(&instance);
    std::sort(result.begin(), result.end(), [](const Instance* a, const Instance* b) { return a->offset < b->offset; });
    return result;
}

const Instance* File::find(std::uint64_t number) const {
    const auto found = std::lower_bound(instances_.begin(), instances_.end(), number,
                                        [](const Instance& instance, std::uint64_t key) { return instance.number < key; });
    return found != instances_.end() && found->number == number ? &*found : nullptr;
}

std::string_view File::nameOf(const Instance& instance) const {
    const char* begin = text_.data() + instance.offset;
    return keywordAt(begin + instance.name, begin + std::min(instance.parameters, instance.name + maxNameLength));
}

std::string_view File::parametersOf(const Instance& instance) const {
    return std::string_view(text_.data() + instance.offset + instance.parameters + 1,
                            instance.length - instance.parameters - 2);
}

std::uint64_t File::lineAt(std::uint64_t offset) const {
    offset = std::min(offset, static_cast<std::uint64_t>(text_.size()));
    const std::uint64_t block = offset / lineBlock;
    const char* begin = text_.data() + block * lineBlock;
    return 1 + linesBefore_[block] + static_cast<std::uint64_t>(std::count(begin, text_.data() + offset, '\n'));
}

void File::fail(std::uint64_t offset, const std::string& found, const std::string& expected) const {
    throw FileError(name_ + ", line " + std::to_string(lineAt(offset)) + ": " + found + "; expected " + expected);
}

void File::countLines() {
    linesBefore_.reserve(text_.size() / lineBlock + 1);
    std::uint64_t lines = 0;
    for (std::size_t begin = 0; begin <= text_.size(); begin += lineBlock) {
        linesBefore_.push_back(lines);
        const char* first = text_.data() + begin;
        lines += static_cast<std::uint64_t>(std::count(first, first + std::min(lineBlock, text_.size() - begin), '\n'));
    }
}

void File::scan() {
    position_ = text_.data();
    end_ = position_ + text_.size();
    if (text_.empty())
        fail(0, "the file is empty", "'ISO-10303-21;'");
    if (std::string_view(position_, text_.size()).starts_with("\xEF\xBB\xBF"))
        position_ += 3;
    position_ = skipBlanks(position_, end_);
    if (keywordInCapitals(position_, end_) != fileBegin)
        fail(offsetOf(position_), "not a STEP file (ISO 10303-21): it begins with " + quoted(position_, end_),
             "'ISO-10303-21;'");
    readStatement("';' after ISO-10303-21");
    scanHeader();
    bool data = false;
    for (;;) {
        const Statement section = readStatement(data ? "'END-ISO-10303-21;' or a section" : "'DATA;'");
        const std::string keyword = keywordInCapitals(section.begin, section.end);
        if (keyword == "DATA") {
            data = true;
            scanData();
        } else if (keyword == "ANCHOR" || keyword == "REFERENCE" || keyword == "SIGNATURE") {
            for (Statement inside = section; keywordInCapitals(inside.begin, inside.end) != "ENDSEC";)
                inside = readStatement("'ENDSEC;' of a section");
        } else if (keyword == fileEnd && data) {
            return;
        } else {
            fail(offsetOf(section.begin), "found " + quoted(section.begin, section.end),
                 data ? "'END-ISO-10303-21;' or a section" : "'DATA;'");
        }
    }
}

File::Statement File::readStatement(const char* expected) {
    const char* begin = skipBlanks(position_, end_);
    for (const char* last = begin; last != end_;) {
        if (*last == ';') {
            position_ = last + 1;
            return {begin, last};
        }
        if (*last != '\'') {
            const char* next = skipBlanks(last, end_);
            last = next == last ? last + 1 : next;
            continue;
        }
        const char* const nextInstance = nextInstanceLine(last);
        last = skipText(last, nextInstance);
        if (!last && nextInstance != end_) {
            position_ = nextInstance;
            return {begin, nextInstance};
        }
        last = last ? last : end_;
    }
    fail(text_.size(), "the file ends", expected);
}

/// The first line after `position` that begins with "#1="; `end_` if there is none. Calls with increasing positions search
/// the text only once altogether.
const char* File::nextInstanceLine(const char* position) {
    if (instanceLine_ && instanceLine_ > position)
        return instanceLine_;
    const auto skipWhile = [this](const char* at, auto belongs) {
        while (at != end_ && belongs(*at))
            ++at;
        return at;
    };
    const auto isSpace = [](char c) { return c == ' ' || c == '\t'; };
    while (const void* found = std::memchr(position, '\n', static_cast<std::size_t>(end_ - position))) {
        const char* const number = skipWhile(static_cast<const char*>(found) + 1, isSpace);
        position = number;
        if (number == end_ || *number != '#')
            continue;
        const char* const digitsEnd = skipWhile(number + 1, isDigit);
        position = skipWhile(digitsEnd, isSpace);
        if (digitsEnd != number + 1 && position != end_ && *position == '=')
            return instanceLine_ = number;
    }
    return instanceLine_ = end_;
}

void File::scanHeader() {
    const Statement header = readStatement("'HEADER;'");
    if (keywordInCapitals(header.begin, header.end) != "HEADER")
        fail(offsetOf(header.begin), "found " + quoted(header.begin, header.end), "'HEADER;'");
    for (;;) {
        const Statement entry = readStatement("'ENDSEC;' of the header");
        const std::string keyword = keywordInCapitals(entry.begin, entry.end);
        if (keyword == "ENDSEC")
            break;
        if (keyword == "DATA" || keyword == fileEnd || entry.begin == entry.end || *entry.begin == '#')
            fail(offsetOf(entry.begin), "found " + quoted(entry.begin, entry.end), "'ENDSEC;' of the header");
        if (keyword == "FILE_SCHEMA")
            readSchema(entry);
    }
    if (schema_.empty())
        fail(offsetOf(header.begin), "the header has no FILE_SCHEMA", application_.supportedSchemas);
}

void File::readSchema(const Statement& entry) {
    // The only parameter is a list of names.
    Value names;
    Value first;
    const std::string_view keyword = keywordAt(entry.begin, entry.end);
    ValueReader(parametersAt(entry.begin + keyword.size(), entry.end)).next(names);
    ValueReader(names.text).next(first);
    if (names.kind != ValueKind::List || first.kind != ValueKind::Text)
        fail(offsetOf(entry.begin), "found " + quoted(entry.begin, entry.end), "FILE_SCHEMA(('name of a schema'))");
    schema_ = capitals(first.text);
    if (!application_.supports(schema_))
        fail(offsetOf(entry.begin), "the schema is " + quoted(schema_.data(), schema_.data() + schema_.size()),
             application_.supportedSchemas);
}

void File::scanData() {
    for (;;) {
        position_ = skipBlanks(position_, end_);
        if (position_ != end_ && *position_ == '#') {
            scanInstance();
            continue;
        }
        const Statement entry = readStatement("'ENDSEC;' of the DATA section");
        if (entry.begin == entry.end)
            continue; // a second semicolon is harmless
        const std::string keyword = keywordInCapitals(entry.begin, entry.end);
        if (keyword == "ENDSEC")
            return;
        if (keyword == fileEnd || keyword == fileBegin || keyword == "DATA" || keyword == "HEADER")
            fail(offsetOf(entry.begin), "found " + quoted(entry.begin, entry.end), "'ENDSEC;' of the DATA section");
        addDamage(entry.begin, 0, "an instance '#1=NAME(...);'");
    }
}

void File::scanInstance() {
    InstanceStart start;
    if (!readInstanceStart(start))
        return;
    const char* const nextInstance = nextInstanceLine(start.begin);
    ParametersEnd parameters = findParametersEnd(start.open, std::max(start.open, nextInstance));
    if (parameters.how == ParametersEnd::OpenText && nextInstance != end_) {
        addDamage(start.begin, start.number, "a text that ends before the next instance");
        position_ = nextInstance;
        return;
    }
    if (parameters.how == ParametersEnd::CutOff)
        parameters = findParametersEnd(start.open, end_); // the line that looks like an instance is inside a comment
    if (parameters.how == ParametersEnd::CutOff || parameters.how == ParametersEnd::OpenText)
        fail(text_.size(),
             "the file ends inside #" + std::to_string(start.number) + ", which begins on line " +
                 std::to_string(lineAt(offsetOf(start.begin))),
             "')' and ';'");
    position_ = skipBlanks(parameters.position, end_);
    if (position_ == end_)
        fail(text_.size(), "the file ends after #" + std::to_string(start.number), "';'");
    const bool ended = *position_ == ';';
    if (ended)
        ++position_;
    if (parameters.how == ParametersEnd::Closed)
        addInstance(start, parameters.position);
    else
        addDamage(start.begin, start.number, "')' before ';'");
    if (!ended) {
        addDamage(start.begin, start.number, "';' after ')'");
        if (*position_ != '#')
            readStatement("';'");
    }
}

/// Reads "#1=NAME(". If that fails, the statement is skipped up to its semicolon and is a problem.
bool File::readInstanceStart(InstanceStart& start) {
    start.begin = position_;
    start.number = 0;
    const auto [digitsEnd, error] = std::from_chars(position_ + 1, end_, start.number);
    position_ = skipBlanks(digitsEnd, end_);
    const bool numbered = error == std::errc() && start.number != 0 && position_ != end_ && *position_ == '=';
    if (numbered)
        position_ = skipBlanks(position_ + 1, end_);
    start.name = keywordAt(position_, end_);
    position_ = skipBlanks(start.name.data() + start.name.size(), end_);
    start.open = position_;
    if (numbered && position_ != end_ && *position_ == '(')
        return true;
    readStatement("'=', a name and '(' in the instance that begins here");
    addDamage(start.begin, numbered ? start.number : 0, "'#1=NAME(...);'");
    return false;
}

void File::addInstance(const InstanceStart& start, const char* end) {
    const auto length = static_cast<std::uint64_t>(end - start.begin);
    if (length > std::numeric_limits<std::uint32_t>::max())
        addDamage(start.begin, start.number, "an instance of less than 4 GiB");
    else
        instances_.push_back({start.number, offsetOf(start.begin), static_cast<std::uint32_t>(length),
                              static_cast<std::uint32_t>(start.name.data() - start.begin),
                              static_cast<std::uint32_t>(start.open - start.begin), application_.codeOf(start.name)});
}

void File::addDamage(const char* instance, std::uint64_t number, const char* expected) {
    const std::uint64_t offset = offsetOf(instance);
    if (mayAddProblem(offset))
        problems_.push_back({lineAt(offset), number, "found " + quoted(instance, end_) + "; expected " + expected});
}

/// Whether a problem at this offset is stored; otherwise counts it.
bool File::mayAddProblem(std::uint64_t offset) {
    if (problems_.size() < maxProblems)
        return true;
    if (omittedProblems_++ == 0)
        firstOmittedProblem_ = offset;
    return false;
}

void File::addCountOfOmittedProblems() {
    if (omittedProblems_ != 0)
        problems_.push_back({lineAt(firstOmittedProblem_), 0,
                             "and " + std::to_string(omittedProblems_) + " more damaged instances from this line on"});
}

/// Sorts the instances by number, and removes those whose number an earlier instance has.
void File::sortInstances() {
    const auto before = [](const Instance& a, const Instance& b) {
        return a.number != b.number ? a.number < b.number : a.offset < b.offset;
    };
    if (!std::is_sorted(instances_.begin(), instances_.end(), before))
        std::sort(instances_.begin(), instances_.end(), before);
    const auto isRepeated = [this](const Instance& first, const Instance& other) {
        if (first.number != other.number)
            return false;
        if (mayAddProblem(other.offset))
            problems_.push_back({lineAt(other.offset), other.number,
                                 "the number is already used on line " + std::to_string(lineAt(first.offset)) +
                                     "; expected a unique number; this instance is ignored"});
        return true;
    };
    instances_.erase(std::unique(instances_.begin(), instances_.end(), isRepeated), instances_.end());
}

} // namespace importer::step
