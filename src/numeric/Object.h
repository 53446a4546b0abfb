// Root classes of every record that lives in the counted containers of base/Vector.h.
#pragma once

#include <cstdint>

// A heap object whose lifetime is decided by the containers that hold it:
// refCount counts those containers, and the last one to let go deletes it.
class Object {
public:
    Object() = default;
    // A copy is a new object that no container holds yet.
    Object(const Object&) : refCount(0) {}
    // Assignment copies contents, never the count of containers holding the target.
    Object& operator=(const Object&) { return *this; }
    virtual ~Object() {}

    std::int32_t refCount = 0;
};

// An object that can duplicate itself behind a base pointer. The argument is
// part of the interface only: no implementation lets it change what is copied.
class CloneableObj : public Object {
public:
    // The copy has refCount 0; the caller adds it to a container or deletes it.
    virtual CloneableObj* Clone(unsigned int flags) const = 0;
};
