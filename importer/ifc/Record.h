#pragma once

// Instances by their arguments, and what bounds the reading of them.

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

/// Spoils the item, or the product, that is being read; thrown, and told as a `Problem`.
struct EntityError {
    const Instance* instance; ///< The one at fault.
    std::string reason;
};

/// The instance of an EntityError or of a note that concerns the model as a whole: it has no number and no name.
inline constexpr Instance wholeModel{};

/// Ends the reading of a product's shape: a small text can describe a shape of any size, or one that takes any time.
struct LimitExceeded {
    std::string reason;
};

/// How much the objects of a file may take. Work is counted in bytes of text looked at, and in so many for each point or
/// property made.
struct Limits {
    std::uint64_t verticesPerProduct;
    std::uint64_t workPerProduct;
    std::uint64_t work;
    std::uint64_t propertiesPerSet = 1 << 18; ///< Those within complex ones too.
    std::uint64_t workOfProperties = 1 << 27;
    std::uint64_t setsOfProducts = 1 << 20; ///< Of all products together, as often as they have them.
    std::uint64_t workOfTextures = 1 << 30; ///< The bytes of the images beside the model too, as often as they are read.
    std::uint64_t bytesPerTexture = 1 << 28;

    /// For a file of this size: beyond what a file of that size holds in honest use, and little enough to be done soon.
    static Limits forFile(std::uint64_t size);
};

/// How `IfcContext::attempt` ended.
enum class Outcome { Done, EntityFailed, LimitExceeded };

/// What all readers of a model share.
class IfcContext {
public:
    IfcContext(const step::File& stepFile, const Limits& bounds) : file(stepFile), limits(bounds) {}

    const step::File& file;
    const Limits limits;
    double lengthUnit = 1.0; ///< In metres.
    double angleUnit = 1.0;  ///< In radians.

    /// Begins a new product's account.
    void beginProduct();

    /// Accounts for work. @throws LimitExceeded
    void charge(std::uint64_t work);

    /// Accounts for points that are about to be made. @throws LimitExceeded
    void chargePoints(std::uint64_t count) { charge(count * workPerPoint); }

    /// Accounts for corners of faces. @throws LimitExceeded
    void chargeCorners(std::uint64_t count) { charge(count * workPerCorner); }

    /// Accounts for points that are added to a list that has so many. @throws LimitExceeded
    void chargePointsOfList(std::uint64_t had, std::uint64_t added);

    /// Notes something about an item of the product being read.
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

    const std::vector<EntityError>& notes() const { return notes_; } ///< The first of them.
    std::uint64_t moreNotes() const { return moreNotes_; }           ///< Number of those that followed.

private:
    friend class RecursionGuard;
    static constexpr std::uint64_t workPerPoint = 32;
    static constexpr std::uint64_t workPerCorner = 8;

    std::vector<EntityError> notes_;
    std::uint64_t moreNotes_ = 0;
    std::uint64_t workDone_ = 0;
    std::uint64_t workOfProduct_ = 0;
    std::vector<const Instance*> nesting_;
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

/// Guard: an instance whose parts are being read. Keeps instances that contain themselves, and too many within each other,
/// from being followed.
class RecursionGuard {
public:
    /// @throws EntityError
    RecursionGuard(IfcContext& context, const Instance& instance, std::size_t deepest = 64);
    ~RecursionGuard() { context_.nesting_.pop_back(); }

    RecursionGuard(const RecursionGuard&) = delete;
    RecursionGuard& operator=(const RecursionGuard&) = delete;

private:
    IfcContext& context_;
};

/// The arguments of one instance. Asking for what an argument is not throws a `EntityError`.
class Record {
public:
    Record(IfcContext& context, const Instance& instance);

    const Instance& instance() const { return instance_; }
    Entity entity() const { return entityOf(instance_); }

    /// The argument at `index`, from 0; `Absent` behind the last one.
    const Value& operator[](std::size_t index) const { return values_[index < most ? index : most]; }
    std::size_t count() const { return count_; }
    bool given(std::size_t index) const { return (*this)[index].given(); }

    double number(std::size_t index) const;
    double number(std::size_t index, double ifOmitted) const { return given(index) ? number(index) : ifOmitted; }
    double positive(std::size_t index) const;
    /// Not negative; 0 if omitted.
    double radius(std::size_t index) const;
    bool isTrue(std::size_t index) const;
    std::string_view enumeration(std::size_t index) const;
    const Instance& reference(std::size_t index) const;
    /// Null if omitted.
    const Instance* optionalReference(std::size_t index) const;
    ValueReader list(std::size_t index) const;
    /// A binary or a text, still encoded.
    std::string_view binary(std::size_t index) const;
    std::string_view encodedText(std::size_t index) const;
    std::vector<const Instance*> references(std::size_t index) const;
    /// A text, decoded; empty if omitted. What is none is noted as `what`, and is empty.
    Velmor::WideString text(std::size_t index, const char* what) const;

    /// Hands over the instances that a list refers to. References to nothing are noted, as one.
    template <typename Take>
    void forEachReference(ValueReader list, Take take) const;

    /// The instance that a value of this record refers to.
    const Instance& resolve(const Value& value) const;

    [[noreturn]] void fail(const std::string& reason) const { throw EntityError{&instance_, reason}; }

private:
    [[noreturn]] void unexpected(std::size_t index, const char* expected) const;
    const Instance* find(const Value& value) const;
    void noteDamaged(const Value& first, std::uint64_t count) const;

    static constexpr std::size_t most = 16; // more than any argument that is read

    IfcContext& context_;
    const Instance& instance_;
    Value values_[most + 1];
    std::size_t count_ = 0;
};

template <typename Take>
void Record::forEachReference(ValueReader list, Take take) const {
    std::uint64_t damaged = 0;
    Value first;
    for (Value value; list.next(value);) {
        if (const Instance* instance = find(value))
            take(*instance);
        else if (damaged++ == 0)
            first = value;
    }
    if (damaged != 0)
        noteDamaged(first, damaged);
}

/// Reads up to `most` numbers of a list.
/// @return how many there were; more than `most` if there were more; -1 if one is no number.
int readNumbers(std::string_view list, double* numbers, int most);

} // namespace importer::ifc
