// The calling thread's COM state, for the other parts of the run time.
#ifndef OM_PLATFORM_COM_APARTMENT_H_
#define OM_PLATFORM_COM_APARTMENT_H_

namespace om::com {

// True between a successful CoInitialize(Ex) on this thread and its balancing
// CoUninitialize.
bool comInitialised();

}  // namespace om::com

#endif  // OM_PLATFORM_COM_APARTMENT_H_
