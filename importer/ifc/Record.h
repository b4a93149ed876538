#pragma once

// Instances with their arguments, the limits of reading them, and how errors are reported.

#include "importer/geometry/Vector.h"
#include "importer/ifc/Entities.h"
#include "importer/ifc/Model.h"
#include "importer/step/File.h"
#include "importer/step/Lexer.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace importer::ifc {

using namespace step;
using namespace geometry;

/// An item, or a whole object, cannot be read. It is thrown, and becomes a `Problem`.
struct EntityError {
    const Instance* instance; ///< The instance with the error.
    std::string reason;
};

/// The instance of an EntityError or of a note that concerns the model as a whole: it has no number and no name.
inline constexpr Instance wholeModel{};

/// Thrown when a limit is exceeded. Ends the reading of an object. A small file can describe a shape of any size, or one
/// that takes any amount of time to read.
struct LimitExceeded {
    std::string reason;
};

/// Limits for the objects of a file. Work is counted in bytes of text read, plus an amount for each point or property
/// created.
struct Limits {
    std::uint64_t verticesPerProduct;
    std::uint64_t workPerProduct;
    std::uint64_t work;
    std::uint64_t propertiesPerSet = 1 << 18; ///< Including those within complex properties.
    std::uint64_t workOfProperties = 1 << 27;
    std::uint64_t setsOfProducts = 1 << 20; ///< The sum over all products.
    std::uint64_t workOfTextures = 1 << 30; ///< Including the bytes of image files, each time one is read.
    std::uint64_t bytesPerTexture = 1 << 28;

    /// The limits for a file of this size. Real files do not reach them; the reading of a malicious file ends early.
    static Limits forFile(std::uint64_t size);
};

/// How `IfcContext::attempt` ended.
enum class Outcome { Done, EntityFailed, LimitExceeded };

/// The state that the readers of a model share.
class IfcContext {
public:
    IfcContext(const step::File& stepFile, const Limits& bounds) : file(stepFile), limits(bounds) {}

    const step::File& file;
    const Limits limits;
    double lengthUnit = 1.0; ///< In meters.
    double angleUnit = 1.0;  ///< In radians.

    /// Begins the next object (a product, a property set, a relation or a texture): resets its work and the notes.
    void beginObject();

    /// Counts work. @throws LimitExceeded
    void charge(std::uint64_t work);

    /// Counts the work for points before they are created. @throws LimitExceeded
    void chargePoints(std::uint64_t count) { charge(count * workPerPoint); }

    /// Counts the work for corners of faces before they are created. @throws LimitExceeded
    void chargeCorners(std::uint64_t count) { charge(count * workPerCorner); }

    /// Counts the work for points before they are added to a list.
    /// @param present number of points already in the list.
    /// @throws LimitExceeded also if the list becomes longer than a product may have vertices.
    void chargePointsOfList(std::uint64_t present, std::uint64_t added);

    /// Adds a note about an instance to those of the current object.
    void note(const Instance& instance, const std::string& reason);

    /// Runs `read`, which reads the object that `instance` is. An EntityError becomes a note about the instance that it
    /// names; LimitExceeded becomes a note about `instance`.
    template <typename Read>
    Outcome attempt(const Instance& instance, Read read);

    /// Runs `read`, which reads one part of an object. An EntityError becomes a note about the instance that it names.
    /// @return whether the part was read.
    /// @throws LimitExceeded because it ends the whole object.
    template <typename Read>
    bool attemptPart(Read read);

    const std::vector<EntityError>& notes() const { return notes_; } ///< The first notes of the current object.
    std::uint64_t omittedNotes() const { return omittedNotes_; }     ///< Number of its further notes.

private:
    friend class RecursionGuard;
    static constexpr std::uint64_t workPerPoint = 32;
    static constexpr std::uint64_t workPerCorner = 8;

    std::vector<EntityError> notes_;
    std::uint64_t omittedNotes_ = 0;
    std::uint64_t workDone_ = 0;
    std::uint64_t workOfObject_ = 0;
    std::vector<const Instance*> nesting_; // the instances that guards protect, the outermost first
};

template <typename Read>
Outcome IfcContext::attempt(const Instance& instance, Read read) {
    try {
        return attemptPart(read) ? Outcome::Done : Outcome::EntityFailed;
    } catch (const LimitExceeded& exceeded) {
        note(instance, exceeded.reason);
        return Outcome::LimitExceeded;
    }
}

template <typename Read>
bool IfcContext::attemptPart(Read read) {
    try {
        read();
        return true;
    } catch (const EntityError& error) {
        note(*error.instance, error.reason);
        return false;
    }
}

/// Marks an instance as being read for as long as the guard exists. Prevents endless recursion by instances that contain
/// themselves, and stack overflow by deep nesting.
class RecursionGuard {
public:
    /// @throws EntityError if the instance is already being read, or if more than `maxDepth` instances would be nested.
    RecursionGuard(IfcContext& context, const Instance& instance, std::size_t maxDepth = 64);
    ~RecursionGuard() { context_.nesting_.pop_back(); }

    RecursionGuard(const RecursionGuard&) = delete;
    RecursionGuard& operator=(const RecursionGuard&) = delete;

private:
    IfcContext& context_;
};

/// The arguments of one instance, by the positions in Attributes.h. A function that returns the value of an argument throws
/// an EntityError if the argument has another type. An instance may have fewer arguments than the schema requires.
class Record {
public:
    /// Counts the length of the instance as work. @throws LimitExceeded
    Record(IfcContext& context, const Instance& instance);

    const Instance& instance() const { return instance_; }
    Entity entity() const { return entityOf(instance_); }

    /// The argument at `index`, from 0; `Absent` after the last one.
    const Value& operator[](std::size_t index) const { return values_[index < capacity ? index : capacity]; }
    std::size_t count() const { return count_; }
    bool given(std::size_t index) const { return (*this)[index].given(); }

    double number(std::size_t index) const;
    double number(std::size_t index, double ifOmitted) const { return given(index) ? number(index) : ifOmitted; }
    double positive(std::size_t index) const;
    /// A number that is not negative; 0 if omitted.
    double radius(std::size_t index) const;
    bool isTrue(std::size_t index) const;
    std::string_view enumeration(std::size_t index) const;
    const Instance& reference(std::size_t index) const;
    /// Null if omitted.
    const Instance* optionalReference(std::size_t index) const;
    ValueReader list(std::size_t index) const;
    /// The part of a binary between its quotes, still encoded.
    std::string_view binary(std::size_t index) const;
    /// The part of a text between its apostrophes, still encoded.
    std::string_view encodedText(std::size_t index) const;
    std::vector<const Instance*> references(std::size_t index) const;
    /// A decoded text; empty if omitted. An argument that is not a text is noted as `what`, and the result is empty.
    Velmor::WideString text(std::size_t index, const char* what) const;

    /// Calls `take` for each instance that the list refers to. All invalid references of the list become one note.
    template <typename Take>
    void forEachReference(ValueReader list, Take take) const;

    /// The instance that a value of this record refers to.
    const Instance& resolve(const Value& value) const;

    [[noreturn]] void fail(const std::string& reason) const { throw EntityError{&instance_, reason}; }

private:
    [[noreturn]] void unexpected(std::size_t index, const char* expected) const;
    const Instance* find(const Value& value) const;
    void noteInvalidReferences(const Value& first, std::uint64_t count) const;

    static constexpr std::size_t capacity = 16; // no later argument is read

    IfcContext& context_;
    const Instance& instance_;
    Value values_[capacity + 1];
    std::size_t count_ = 0;
};

template <typename Take>
void Record::forEachReference(ValueReader list, Take take) const {
    std::uint64_t invalid = 0;
    Value first;
    for (Value value; list.next(value);)
        if (const Instance* instance = find(value))
            take(*instance);
        else if (invalid++ == 0)
            first = value;
    if (invalid != 0)
        noteInvalidReferences(first, invalid);
}

/// Reads up to `capacity` numbers of a list.
/// @return how many there are; `capacity` + 1 if there are more; -1 if a value is not a number.
int readNumbers(std::string_view list, double* numbers, int capacity);

} // namespace importer::ifc
