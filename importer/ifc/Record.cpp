#include "importer/ifc/Record.h"

#include "importer/step/Text.h"

#include <algorithm>

namespace importer::ifc {

Limits Limits::forFile(std::uint64_t size) {
    constexpr std::uint64_t mega = 1 << 20;
    // Real models take up to 0.6 times their size for one product and 5 times for all; a mesh that fills its file, 4 to 5
    // times for that one product.
    // Those with many large property sets that share their properties take up to 40 times their size for them; products
    // take up to 0.1 sets for each byte.
    // Of embedded images the text itself is most of the work; those beside the model have no bound in its size.
    return {mega / 4 + size / 8,     16 * mega + 16 * size, 64 * mega + 48 * size, mega / 4 + size / 64,
            128 * mega + 128 * size, mega + size,           1024 * mega + 8 * size};
}

void IfcContext::beginProduct() {
    workOfProduct_ = 0;
    notes_.clear();
    moreNotes_ = 0;
}

void IfcContext::note(const Instance& instance, const std::string& reason) {
    constexpr std::size_t most = 16;
    if (notes_.size() < most)
        notes_.push_back({&instance, reason});
    else
        ++moreNotes_;
}

void IfcContext::charge(std::uint64_t work) {
    workOfProduct_ += work;
    workDone_ += work;
    if (workDone_ > limits.work)
        throw LimitExceeded{"the objects of the file take more work than a file of its size may ask for"};
    if (workOfProduct_ > limits.workPerProduct)
        throw LimitExceeded{"it takes more work than one product of a file of this size may ask for"};
}

void IfcContext::chargePointsOfList(std::uint64_t had, std::uint64_t added) {
    chargePoints(added);
    if (had + added > limits.verticesPerProduct)
        throw LimitExceeded{"the shape has more vertices than one product of a file of this size may have"};
}

RecursionGuard::RecursionGuard(IfcContext& context, const Instance& instance, std::size_t deepest) : context_(context) {
    const auto& outer = context.nesting_;
    if (std::find(outer.begin(), outer.end(), &instance) != outer.end())
        throw EntityError{&instance, "contains itself"};
    if (outer.size() == deepest)
        throw EntityError{&instance, "lies within more than " + std::to_string(deepest) + " others"};
    context.nesting_.push_back(&instance);
}

Record::Record(IfcContext& context, const Instance& instance) : context_(context), instance_(instance) {
    const std::string_view parameters = context.file.parametersOf(instance);
    context.charge(64 + parameters.size());
    ValueReader reader(parameters);
    while (count_ < most && reader.next(values_[count_]))
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
        context_.note(instance_, std::string(what) + " is no text");
    return value.kind == ValueKind::Text ? decodeText(value.text) : Velmor::WideString();
}

const Instance* Record::find(const Value& value) const {
    const std::optional<std::uint64_t> number = referenceOf(value);
    return number ? context_.file.find(*number) : nullptr;
}

void Record::noteDamaged(const Value& first, std::uint64_t count) const {
    try {
        resolve(first);
    } catch (const EntityError& fault) {
        const std::string more = count == 1 ? "" : "; " + std::to_string(count - 1) + " more references of the list as well";
        context_.note(instance_, fault.reason + more);
    }
}

const Instance& Record::resolve(const Value& value) const {
    const std::optional<std::uint64_t> number = referenceOf(value);
    if (!number)
        fail(std::string("'").append(value.text.substr(0, 20)) + "' is no reference to an instance");
    const Instance* found = context_.file.find(*number);
    if (!found)
        fail("refers to #" + std::to_string(*number) + ", which the file does not have");
    return *found;
}

void Record::unexpected(std::size_t index, const char* expected) const {
    fail("argument " + std::to_string(index + 1) + " of " + std::to_string(count_) + " is not as expected: " + expected);
}

int readNumbers(std::string_view list, double* numbers, int most) {
    ValueReader reader(list);
    int count = 0;
    for (Value value; reader.next(value); ++count) {
        const std::optional<double> number = numberOf(value);
        if (!number)
            return -1;
        if (count == most)
            return most + 1;
        numbers[count] = *number;
    }
    return count;
}

} // namespace importer::ifc
