#include <Velmor/IFCProperties.h>

#include <cstdlib>
#include <utility>

namespace Velmor {

namespace {

/// Places by which a full array grows: so many, not twice as many.
constexpr std::uint32_t growth = 50;

} // namespace

IFC2X3PropertySet::IFC2X3PropertySet() : count_(0), capacity_(0), items_(nullptr) {
    static_assert(offsetof(IFC2X3PropertySet, count_) == 0);
    static_assert(offsetof(IFC2X3PropertySet, capacity_) == 4);
    static_assert(offsetof(IFC2X3PropertySet, items_) == 8);
}

IFC2X3PropertySet::IFC2X3PropertySet(const IFC2X3PropertySet& other) : IFC2X3PropertySet() {
    if (other.count_ == 0)
        return;
    items_ = static_cast<IFC2X3Property**>(std::calloc(other.count_, sizeof(void*)));
    if (!items_)
        return; // an empty set, silently
    capacity_ = other.count_;
    // What is there when a copy fails goes with this set.
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
        capacity += growth;
        void* const grown = std::realloc(items_, capacity * sizeof(void*));
        if (!grown)
            return; // silently not added
        items_ = static_cast<IFC2X3Property**>(grown);
    }
    // When this fails, the array has more places than capacity_ says; the next growth asks for the same ones again.
    items_[count_] = new IFC2X3Property(property);
    ++count_;
    capacity_ = capacity;
}

void IFC2X3PropertySet::clear() {
    for (std::uint32_t i = 0; i < count_; ++i)
        delete items_[i];
    count_ = 0;
}

unsigned int IFC2X3PropertySet::getCount() const {
    return count_;
}

const IFC2X3Property& IFC2X3PropertySet::getProperty(unsigned int index) const {
    if (index < count_)
        return *items_[index];
    struct NoProperty : IFC2X3Property {};
    static const NoProperty noProperty;
    return noProperty;
}

} // namespace Velmor
