#include "core/element_type.h"

#include <string.h>

using namespace vornic;

const char* vornic::vnort_dtype_name(uint32_t code) {
    for (const ElementType& type : kElementTypes) {
        if (type.code == code) return type.name;
    }
    return "unknown";
}

const ElementType* vornic::find_dtype(const char* name) {
    for (const ElementType& type : kElementTypes) {
        if (strcmp(name, type.name) == 0) return &type;
        if (type.alias != nullptr && strcmp(name, type.alias) == 0) return &type;
    }
    return nullptr;
}
