/* Handles are addresses passed as words: the two conversions, in one place. */
#ifndef ZATOSW_OSW_HANDLE_PRIVATE_H
#define ZATOSW_OSW_HANDLE_PRIVATE_H

#include "osw/types.h"

inline uint32_t oswWord(const void* address) {
    return reinterpret_cast<uint32_t>(address);
}

template <class Record>
Record* oswRecord(ZatHandle handle) {
    return reinterpret_cast<Record*>(handle);
}

#endif
