// Limits of the work. A file of a few kilobytes can describe a shape of any size: instances may be shared and nested, so
// that the size doubles with each line. Therefore a reader counts its work before it does it. The unit is about one byte of
// text. Work is the length of an instance, each time the instance is read, and an amount for each point, corner and
// property. The work is limited for each object and for the model. Shapes, properties and textures have separate contexts,
// so that the work of one kind does not use up the limit of another.

#include "importer/ifc/Record.h"

#include "importer/step/Text.h"

#include <algorithm>

namespace importer::ifc {

namespace {

/// Why a value does not refer to an instance of the file.
std::string reasonOfInvalidReference(const Value& value) {
    const std::optional<std::uint64_t> number = referenceOf(value);
    return number ? "refers to #" + std::to_string(*number) + ", which does not exist in the file"
                  : "'" + std::string(value.text.substr(0, 20)) + "' is not a reference to an instance";
}

} // namespace

Limits Limits::forFile(std::uint64_t size) {
    constexpr std::uint64_t mega = 1 << 20;
    Limits limits;
    // Shapes of real models take up to 0.6 times the size of the file for one product and 5 times for all. A mesh that fills
    // its file takes 4 to 5 times for one product.
    limits.verticesPerProduct = mega / 4 + size / 8;
    limits.workPerProduct = 16 * mega + 16 * size;
    limits.work = 64 * mega + 48 * size;
    // Real models with many large property sets that share properties take up to 40 times their size, and their products
    // have up to 0.1 sets per byte.
    limits.propertiesPerSet = mega / 4 + size / 64;
    limits.workOfProperties = 128 * mega + 128 * size;
    limits.setsOfProducts = mega + size;
    // The text of embedded images is most of their work. The size of the model does not bound the size of its image files.
    limits.workOfTextures = 1024 * mega + 8 * size;
    return limits;
}

void IfcContext::beginObject() {
    workOfObject_ = 0;
    notes_.clear();
    omittedNotes_ = 0;
}

void IfcContext::note(const Instance& instance, const std::string& reason) {
    constexpr std::size_t maxNotes = 16;
    if (notes_.size() < maxNotes)
        notes_.push_back({&instance, reason});
    else
        ++omittedNotes_;
}

void IfcContext::charge(std::uint64_t work) {
    workOfObject_ += work;
    workDone_ += work;
    if (workDone_ > limits.work)
        throw LimitExceeded{"the objects of the file take more work than the limit for a file of this size"};
    if (workOfObject_ > limits.workPerProduct)
        throw LimitExceeded{"it takes more work than the limit for one object in a file of this size"};
}

void IfcContext::chargePointsOfList(std::uint64_t present, std::uint64_t added) {
    chargePoints(added);
    if (present + added > limits.verticesPerProduct)
        throw LimitExceeded{"the shape has more vertices than the limit for one product in a file of this size"};
}

RecursionGuard::RecursionGuard(IfcContext& context, const Instance& instance, std::size_t maxDepth) : context_(context) {
    const std::vector<const Instance*>& outer = context.nesting_;
    if (std::find(outer.begin(), outer.end(), &instance) != outer.end())
        throw EntityError{&instance, "contains itself"};
    if (outer.size() == maxDepth)
        throw EntityError{&instance, "is nested more than " + std::to_string(maxDepth) + " levels deep"};
    context.nesting_.push_back(&instance);
}

Record::Record(IfcContext& context, const Instance& instance) : context_(context), instance_(instance) {
    const std::string_view parameters = context.file.parametersOf(instance);
    context.charge(64 + parameters.size());
    ValueReader reader(parameters);
    while (count_ < capacity && reader.next(values_[count_]))
        ++count_;
    values_[count_] = Value();
}

double Record::number(std::size_t index) const {
    const Value& value = (*this)[index];
    Value measure = value;
    if (value.kind == ValueKind::Typed)
        ValueReader(contentOf(value)).next(measure);
    const std::optional<double> number = numberOf(measure);
    if (!number)
        unexpected(index, "a number");
    return *number;
}

double Record::positive(std::size_t index) const {
    const double value = number(index);
    if (!(value > 0.0))
        unexpected(index, "a positive number");
    return value;
}

double Record::radius(std::size_t index) const {
    const double value = number(index, 0.0);
    if (!(value >= 0.0))
        unexpected(index, "a number that is not negative");
    return value;
}

bool Record::isTrue(std::size_t index) const {
    const std::string_view value = enumeration(index);
    if (value != "T" && value != "F")
        unexpected(index, ".T. or .F.");
    return value == "T";
}

std::string_view Record::enumeration(std::size_t index) const {
    if ((*this)[index].kind != ValueKind::Enumeration)
        unexpected(index, "an enumeration");
    return (*this)[index].text;
}

const Instance& Record::reference(std::size_t index) const {
    if ((*this)[index].kind != ValueKind::Reference)
        unexpected(index, "a reference to an instance");
    return resolve((*this)[index]);
}

const Instance* Record::optionalReference(std::size_t index) const {
    return given(index) ? &reference(index) : nullptr;
}

ValueReader Record::list(std::size_t index) const {
    if ((*this)[index].kind != ValueKind::List)
        unexpected(index, "a list");
    return ValueReader((*this)[index].text);
}

std::string_view Record::binary(std::size_t index) const {
    if ((*this)[index].kind != ValueKind::Binary)
        unexpected(index, "a binary");
    return (*this)[index].text;
}

std::string_view Record::encodedText(std::size_t index) const {
    if ((*this)[index].kind != ValueKind::Text)
        unexpected(index, "a text");
    return (*this)[index].text;
}

std::vector<const Instance*> Record::references(std::size_t index) const {
    std::vector<const Instance*> result;
    ValueReader reader = list(index);
    for (Value value; reader.next(value);)
        result.push_back(&resolve(value));
    return result;
}

Velmor::WideString Record::text(std::size_t index, const char* what) const {
    const Value& value = (*this)[index];
    if (value.kind != ValueKind::Text && value.kind != ValueKind::Omitted)
        context_.note(instance_, std::string(what) + " is not a text");
    return value.kind == ValueKind::Text ? decodeText(value.text) : Velmor::WideString();
}

const Instance* Record::find(const Value& value) const {
    const std::optional<std::uint64_t> number = referenceOf(value);
    return number ? context_.file.find(*number) : nullptr;
}

void Record::noteInvalidReferences(const Value& first, std::uint64_t count) const {
    std::string reason = reasonOfInvalidReference(first);
    if (count > 1)
        reason += "; further invalid references in the same list: " + std::to_string(count - 1);
    context_.note(instance_, reason);
}

const Instance& Record::resolve(const Value& value) const {
    if (const Instance* found = find(value))
        return *found;
    fail(reasonOfInvalidReference(value));
}

void Record::unexpected(std::size_t index, const char* expected) const {
    fail("argument " + std::to_string(index + 1) + (index < count_ ? " is invalid" : " is missing") + "; expected " +
         expected);
}

int readNumbers(std::string_view list, double* numbers, int capacity) {
    ValueReader reader(list);
    int count = 0;
    for (Value value; reader.next(value); ++count) {
        const std::optional<double> number = numberOf(value);
        if (!number)
            return -1;
        if (count == capacity)
            return capacity + 1;
        numbers[count] = *number;
    }
    return count;
}

} // namespace importer::ifc
