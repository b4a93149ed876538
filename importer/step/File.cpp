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

/// Beyond this many problems they are only counted: nobody reads more, and each takes more memory than what it tells of.
constexpr std::size_t mostProblems = 1000;

/// Longer than any entity's name.
constexpr std::uint32_t longestName = 100;

/// The name that a statement begins with.
std::string_view keywordAt(const char* position, const char* end) {
    const char* last = position;
    while (last != end && (isNameCharacter(*last) || *last == '-'))
        ++last;
    return {position, static_cast<std::size_t>(last - position)};
}

/// The same for the names of sections and of what the header holds, in capitals.
std::string sectionAt(const char* position, const char* end) {
    return capitals(keywordAt(position, end));
}

/// What stands between the parentheses behind `position`; nothing when there are none.
std::string_view parametersAt(const char* position, const char* end) {
    position = skipBlanks(position, end);
    if (position == end || *position != '(')
        return {};
    const ParametersEnd last = findParametersEnd(position, end);
    return last.how == ParametersEnd::Closed
               ? std::string_view(position + 1, static_cast<std::size_t>(last.position - position - 2))
               : std::string_view();
}

/// Whether something is there that may keep whoever opens or reads it waiting for ever: a pipe, a device. A folder counts,
/// too.
bool isSpecial(const Velmor::WideString& path) {
    try {
        const std::filesystem::file_status status = std::filesystem::status(systemPath(path));
        return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
    } catch (const std::filesystem::filesystem_error&) {
        return false; // opening it fails as well, and at once
    }
}

/// A piece of the text for a message.
std::string quoted(const char* position, const char* end) {
    constexpr std::ptrdiff_t most = 30;
    std::string result = "'";
    for (const char* last = position + std::min(most, end - position); position != last && *position != '\n'; ++position)
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
    orderInstances();
    tellMoreProblems();
}

File File::open(const Velmor::WideString& path, const Application& application) {
    const std::string name = Velmor::StringOperations::ConvertToUTF8(path);
    if (isSpecial(path))
        throw FileError(name + ": is no regular file; expected a STEP file (ISO 10303-21)");
    const std::unique_ptr<Velmor::FileStream> stream(Velmor::FileStream::openFileForReading(path));
    if (stream->getHandle() == Velmor::ProcessOperations::InvalidHandle())
        throw FileError(name + ": cannot be opened; expected a STEP file (ISO 10303-21) that can be read");
    std::vector<char> text;
    std::error_code unknown;
    const std::uintmax_t size = std::filesystem::file_size(systemPath(path), unknown);
    if (!unknown)
        text.reserve(static_cast<std::size_t>(size) + 1);
    std::vector<char> block;
    do {
        if (!stream->read(readBlock, block))
            throw FileError(name + ": cannot be read behind byte " + std::to_string(text.size()) +
                            "; expected a STEP file (ISO 10303-21)");
        text.insert(text.end(), block.begin(), block.end());
    } while (!block.empty());
    return File(std::move(text), name, application);
}

std::vector<const Instance*> File::instancesOf(std::span<const EntityCode> entities) const {
    std::vector<const Instance*> result;
    for (const Instance& instance : instances_) {
        if (std::find(entities.begin(), entities.end(), instance.entity) != entities.end())
            result.push_back(&instance);
    }
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
    return keywordAt(begin + instance.name, begin + std::min(instance.parameters, instance.name + longestName));
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
    if (sectionAt(position_, end_) != fileBegin)
        fail(offsetOf(position_), "no STEP file (ISO 10303-21), but " + quoted(position_, end_), "'ISO-10303-21;'");
    statement("';' behind ISO-10303-21");
    scanHeader();
    bool data = false;
    for (;;) {
        const Statement section = statement(data ? "'END-ISO-10303-21;' or a section" : "'DATA;'");
        const std::string keyword = sectionAt(section.begin, section.end);
        if (keyword == "DATA") {
            data = true;
            scanData();
        } else if (keyword == "ANCHOR" || keyword == "REFERENCE" || keyword == "SIGNATURE") {
            for (Statement inside = section; sectionAt(inside.begin, inside.end) != "ENDSEC";)
                inside = statement("'ENDSEC;' of a section");
        } else if (keyword == fileEnd && data) {
            return;
        } else {
            fail(offsetOf(section.begin), "found " + quoted(section.begin, section.end),
                 data ? "'END-ISO-10303-21;' or a section" : "'DATA;'");
        }
    }
}

File::Statement File::statement(const char* expected) {
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
        const char* const nextInstance = instanceLineBehind(last);
        last = skipText(last, nextInstance);
        if (!last && nextInstance != end_) {
            position_ = nextInstance;
            return {begin, nextInstance};
        }
        last = last ? last : end_;
    }
    fail(text_.size(), "the file ends", expected);
}

/// The next line that begins with "#1=": a text that is still open there has lost its closing apostrophe. Asked for places
/// that never go back, it looks at the file once.
const char* File::instanceLineBehind(const char* position) {
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
    const Statement header = statement("'HEADER;'");
    if (sectionAt(header.begin, header.end) != "HEADER")
        fail(offsetOf(header.begin), "found " + quoted(header.begin, header.end), "'HEADER;'");
    const char* const headerBegin = header.begin;
    for (;;) {
        const Statement entry = statement("'ENDSEC;' of the header");
        const std::string keyword = sectionAt(entry.begin, entry.end);
        if (keyword == "ENDSEC")
            break;
        if (keyword == "DATA" || keyword == fileEnd || entry.begin == entry.end || *entry.begin == '#')
            fail(offsetOf(entry.begin), "found " + quoted(entry.begin, entry.end), "'ENDSEC;' of the header");
        if (keyword != "FILE_SCHEMA")
            continue;
        // A list of names within the list of parameters.
        Value names;
        Value first;
        ValueReader(parametersAt(entry.begin + keyword.size(), entry.end)).next(names);
        ValueReader(names.text).next(first);
        if (names.kind != ValueKind::List || first.kind != ValueKind::Text)
            fail(offsetOf(entry.begin), "found " + quoted(entry.begin, entry.end), "FILE_SCHEMA(('name of a schema'))");
        schema_ = capitals(first.text);
        if (!application_.supports(schema_))
            fail(offsetOf(entry.begin), "the schema is " + quoted(schema_.data(), schema_.data() + schema_.size()),
                 application_.supportedSchemas);
    }
    if (schema_.empty())
        fail(offsetOf(headerBegin), "the header has no FILE_SCHEMA", application_.supportedSchemas);
}

void File::scanData() {
    for (;;) {
        position_ = skipBlanks(position_, end_);
        if (position_ != end_ && *position_ == '#') {
            scanInstance();
            continue;
        }
        const Statement entry = statement("'ENDSEC;' of the DATA section");
        if (entry.begin == entry.end)
            continue; // a semicolon too many harms nothing
        const std::string keyword = sectionAt(entry.begin, entry.end);
        if (keyword == "ENDSEC")
            return;
        if (keyword == fileEnd || keyword == fileBegin || keyword == "DATA" || keyword == "HEADER")
            fail(offsetOf(entry.begin), "found " + quoted(entry.begin, entry.end), "'ENDSEC;' of the DATA section");
        damaged(entry.begin, 0, "an instance '#1=NAME(...);'");
    }
}

void File::scanInstance() {
    const char* const begin = position_;
    std::uint64_t number = 0;
    const auto [digitsEnd, error] = std::from_chars(begin + 1, end_, number);
    position_ = skipBlanks(digitsEnd, end_);
    const bool numbered = error == std::errc() && number != 0 && position_ != end_ && *position_ == '=';
    if (numbered)
        position_ = skipBlanks(position_ + 1, end_);
    const char* const nextInstance = instanceLineBehind(begin);
    const std::string_view name = keywordAt(position_, end_);
    position_ = skipBlanks(name.data() + name.size(), end_);
    if (!numbered || position_ == end_ || *position_ != '(') {
        // Nothing that is known about it helps to find its end: the next semicolon.
        statement("'=', a name and '(' in the instance that begins here");
        damaged(begin, numbered ? number : 0, "'#1=NAME(...);'");
        return;
    }
    const char* const open = position_;
    ParametersEnd parameters = findParametersEnd(open, std::max(open, nextInstance));
    if (parameters.how == ParametersEnd::OpenText && nextInstance != end_) {
        damaged(begin, number, "a text that ends before the next instance");
        position_ = nextInstance;
        return;
    }
    if (parameters.how == ParametersEnd::CutOff)
        parameters = findParametersEnd(open, end_); // the line that looks like an instance is part of a comment
    if (parameters.how == ParametersEnd::CutOff || parameters.how == ParametersEnd::OpenText)
        fail(text_.size(),
             "the file ends inside #" + std::to_string(number) + ", which begins on line " +
                 std::to_string(lineAt(offsetOf(begin))),
             "')' and ';'");
    position_ = skipBlanks(parameters.position, end_);
    if (position_ == end_)
        fail(text_.size(), "the file ends behind #" + std::to_string(number), "';'");
    const bool ended = *position_ == ';';
    if (ended)
        ++position_;
    const auto length = static_cast<std::uint64_t>(parameters.position - begin);
    if (parameters.how != ParametersEnd::Closed)
        damaged(begin, number, "')' before ';'");
    else if (length > std::numeric_limits<std::uint32_t>::max())
        damaged(begin, number, "an instance of less than 4 GiB");
    else
        instances_.push_back({number, offsetOf(begin), static_cast<std::uint32_t>(length),
                              static_cast<std::uint32_t>(name.data() - begin), static_cast<std::uint32_t>(open - begin),
                              application_.codeOf(name)});
    if (!ended) {
        damaged(begin, number, "';' behind ')'");
        if (*position_ != '#')
            statement("';'");
    }
}

void File::damaged(const char* instance, std::uint64_t number, const char* expected) {
    const std::uint64_t offset = offsetOf(instance);
    if (mayTellProblemAt(offset))
        problems_.push_back({lineAt(offset), number, "found " + quoted(instance, end_) + "; expected " + expected});
}

bool File::mayTellProblemAt(std::uint64_t offset) {
    if (problems_.size() < mostProblems)
        return true;
    if (moreProblems_++ == 0)
        firstMoreProblem_ = offset;
    return false;
}

void File::tellMoreProblems() {
    if (moreProblems_ != 0)
        problems_.push_back({lineAt(firstMoreProblem_), 0,
                             "and " + std::to_string(moreProblems_) + " more damaged instances, from this line on"});
}

void File::orderInstances() {
    const auto before = [](const Instance& a, const Instance& b) {
        return a.number != b.number ? a.number < b.number : a.offset < b.offset;
    };
    if (!std::is_sorted(instances_.begin(), instances_.end(), before))
        std::sort(instances_.begin(), instances_.end(), before);
    const auto again = [this](const Instance& first, const Instance& other) {
        if (first.number != other.number)
            return false;
        if (mayTellProblemAt(other.offset))
            problems_.push_back({lineAt(other.offset), other.number,
                                 "the number is given already on line " + std::to_string(lineAt(first.offset)) +
                                     "; expected a number of its own"});
        return true;
    };
    instances_.erase(std::unique(instances_.begin(), instances_.end(), again), instances_.end());
}

} // namespace importer::step
