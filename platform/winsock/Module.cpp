// LoadLibraryA, GetProcAddress and FreeLibrary over the dynamic loader.
#include <dlfcn.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <libloaderapi.h>

namespace {

// The shared object of a module name (see libloaderapi.h).
std::string sharedObject(const char* name) {
  if (std::strchr(name, '/') != nullptr) return name;
  std::string base;
  for (const char* p = name; *p != '\0'; ++p) base += static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
  const std::string dll = ".dll";
  if (base.size() > dll.size() && base.compare(base.size() - dll.size(), dll.size(), dll) == 0) {
    base.resize(base.size() - dll.size());
  }
  return "lib" + base + ".so";
}

// The directories the dynamic loader searches for the program's own
// libraries (LD_LIBRARY_PATH, the program's run path, the system
// directories). dlopen alone would search the run path of its caller, which
// is not the program when a library (a sanitizer's runtime, say) stands
// between them.
std::vector<std::string> programSearchPath() {
  std::vector<std::string> directories;
  void* program = dlopen(nullptr, RTLD_NOW);
  if (program == nullptr) return directories;
  Dl_serinfo size;
  if (dlinfo(program, RTLD_DI_SERINFOSIZE, &size) == 0) {
    const std::unique_ptr<Dl_serinfo, decltype(&std::free)> info(
        static_cast<Dl_serinfo*>(std::malloc(size.dls_size)), &std::free);
    if (info != nullptr && dlinfo(program, RTLD_DI_SERINFOSIZE, info.get()) == 0 &&
        dlinfo(program, RTLD_DI_SERINFO, info.get()) == 0) {
      for (unsigned i = 0; i < info->dls_cnt; ++i) directories.emplace_back(info->dls_serpath[i].dls_name);
    }
  }
  dlclose(program);
  return directories;
}

void* load(const std::string& file) {
  if (file.find('/') != std::string::npos) return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  for (const std::string& directory : programSearchPath()) {
    const std::string path = directory + "/" + file;
    if (access(path.c_str(), F_OK) == 0) {
      if (void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) return handle;
    }
  }
  return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);  // the loader's cache
}

}  // namespace

HMODULE LoadLibraryA(LPCSTR name) {
  void* handle = name != nullptr && *name != '\0' ? load(sharedObject(name)) : nullptr;
  if (handle == nullptr) SetLastError(ERROR_MOD_NOT_FOUND);
  return static_cast<HMODULE>(handle);
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name) {
  if (module == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  void* symbol = name != nullptr ? dlsym(module, name) : nullptr;
  if (symbol == nullptr) SetLastError(ERROR_PROC_NOT_FOUND);
  return reinterpret_cast<FARPROC>(symbol);
}

BOOL FreeLibrary(HMODULE module) {
  if (module == nullptr || dlclose(module) != 0) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  return TRUE;
}
