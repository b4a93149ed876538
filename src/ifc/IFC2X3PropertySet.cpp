#include <Velmor/IFCProperties.h>

#include <cstdlib>
#include <utility>

// A property set is an array of pointers from the C heap. Each pointer owns one property from operator new, so a reference
// to a property stays valid while the array grows.
//
//     items_ --> [ p0 | p1 | ... | unused | unused ]     count_ properties in capacity_ slots
//
// A full array grows by 50 slots. Appending n properties therefore reallocates n / 50 times and costs O(n^2 / 50) pointer
// copies at worst. A copy has exactly count_ slots, so that its next append grows it to count_ + 50.

namespace Velmor::ifc {

namespace {

// Frozen: the capacity grows by a fixed step, not by a factor.
constexpr std::uint32_t growthStep = 50;

} // namespace

} // namespace Velmor::ifc

namespace Velmor {

using namespace ifc;

IFC2X3PropertySet::IFC2X3PropertySet() : count_(0), capacity_(0), items_(nullptr) {}

// Frozen: a copy has no spare slots, and a move is a deep copy that leaves its source unchanged.
IFC2X3PropertySet::IFC2X3PropertySet(const IFC2X3PropertySet& other) : IFC2X3PropertySet() {
    if (other.count_ == 0)
        return;
    items_ = static_cast<IFC2X3Property**>(std::calloc(other.count_, sizeof(void*)));
    if (!items_)
        return; // Frozen: if the array cannot be allocated, the copy is empty, without a report.
    capacity_ = other.count_;
    // If the copy of a property throws, the destructor releases the copies made so far: the constructor of the empty set has
    // completed by delegation.
    for (; count_ < capacity_; ++count_)
        items_[count_] = new IFC2X3Property(*other.items_[count_]);
}

IFC2X3PropertySet& IFC2X3PropertySet::operator=(const IFC2X3PropertySet& other) {
    IFC2X3PropertySet copy(other);
    std::swap(count_, copy.count_);
    std::swap(capacity_, copy.capacity_);
    std::swap(items_, copy.items_);
    return *this;
}

IFC2X3PropertySet::~IFC2X3PropertySet() {
    clear();
    std::free(items_);
}

void IFC2X3PropertySet::addProperty(const IFC2X3Property& property) {
    std::uint32_t capacity = capacity_;
    if (count_ == capacity) {
        capacity += growthStep;
        void* const grown = std::realloc(items_, capacity * sizeof(void*));
        if (!grown)
            return; // Frozen: if the array cannot grow, the property is not added, without a report.
        items_ = static_cast<IFC2X3Property**>(grown);
    }
    // capacity_ changes last: if the copy throws, the set is unchanged for its caller. The array is then larger than
    // capacity_, and the next growth reallocates it to the same size.
    items_[count_] = new IFC2X3Property(property);
    ++count_;
    capacity_ = capacity;
}

// Frozen: the array and the capacity remain for further properties.
void IFC2X3PropertySet::clear() {
    for (std::uint32_t i = 0; i < count_; ++i)
        delete items_[i];
    count_ = 0;
}

unsigned int IFC2X3PropertySet::getCount() const {
    return count_;
}

// Frozen: for an index out of range the result is a shared default property, without a report.
const IFC2X3Property& IFC2X3PropertySet::getProperty(unsigned int index) const {
    if (index < count_)
        return *items_[index];
    struct NoProperty : IFC2X3Property {};
    static const NoProperty noProperty;
    return noProperty;
}

} // namespace Velmor
