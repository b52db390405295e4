// Task memory: the allocator that COM callers and callees share for
// out-parameters.
#include <objbase.h>

#include <cstdlib>

LPVOID CoTaskMemAlloc(SIZE_T cb) { return std::malloc(cb); }

LPVOID CoTaskMemRealloc(LPVOID pv, SIZE_T cb) { return std::realloc(pv, cb); }

void CoTaskMemFree(LPVOID pv) { std::free(pv); }
