// Wbem: the abstract root of every WMI object of the library (connections
// and namespaces). It keeps the last failure of the object: an HRESULT, or a
// private code of the connection layer.
#ifndef OMLIB_WBEM_WBEM_H_
#define OMLIB_WBEM_WBEM_H_

#include <omtools/tstring.h>
#include <wbemcli.h>

class Wbem {
 public:
  Wbem() = default;
  Wbem(const Wbem& other) = default;
  Wbem& operator=(const Wbem& other) = default;

  unsigned long getErrorCode() const { return m_dwErrorCode; }
  void setErrorCode(unsigned long code) { m_dwErrorCode = static_cast<DWORD>(code); }

  virtual bool connect() = 0;
  virtual void disconnect() = 0;
  virtual IWbemServices* getServices() const = 0;
  virtual IWbemServices* getServices() = 0;

 private:
  virtual void setName(const tstring& name) = 0;

 public:
  virtual const tstring& getName() const = 0;
  virtual bool isConnected() const = 0;
  virtual void setParent(const Wbem* parent) = 0;
  virtual const Wbem* getParent() const = 0;
  virtual tstring getFullpath() const = 0;

 protected:
  virtual ~Wbem() = default;

 private:
  DWORD m_dwErrorCode = 0;
};

#endif  // OMLIB_WBEM_WBEM_H_
