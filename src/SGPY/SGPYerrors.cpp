// The functions of "sgpy" over errors, which carry a script's exception back to the engine, and
// the generator of unique identifiers.
#include "LANpython.h"

#include <sys/random.h>
#include <time.h>

#include <cerrno>
#include <memory>
#include <mutex>
#include <vector>

#include "COLerror.h"
#include "CRYrandom.h"
#include "SFIhexEncodeFilter.h"
#include "SGPYinternal.h"
#include "SGPYmodule.h"

namespace {

PyObject* One() { return PyLong_FromLong(1); }

PyObject* errorCreate(PyObject* module, PyObject*) {
  return SGPYcreate<COLerror>(module, COLstring(), static_cast<uint32_t>(COL_ERROR_PRECONDITION));
}
PyObject* errorAddRef(PyObject* module, PyObject* arg) { return SGPYaddRef(module, arg, SGPYkind::Error); }
PyObject* errorRelease(PyObject* module, PyObject* arg) { return SGPYrelease(module, arg, SGPYkind::Error); }

PyObject* errorGetDescription(PyObject* module, PyObject* arg) {
  auto* error = SGPYhandle<COLerror>(module, arg);
  return error ? LANstringToPython(error->description()) : nullptr;
}

PyObject* errorSetDescription(PyObject* module, PyObject* args) {
  PyObject *handle = nullptr, *text = nullptr;
  if (!PyArg_ParseTuple(args, "O|O", &handle, &text)) return nullptr;
  auto* error = SGPYhandle<COLerror>(module, handle);
  COLstring bytes;
  if (!error || (text && !SGPYtext(text, bytes))) return nullptr;
  return LANguard([&] {
    error->setDescription(bytes);
    return One();
  });
}

PyObject* errorGetCountOfParameter(PyObject* module, PyObject* arg) {
  auto* error = SGPYhandle<COLerror>(module, arg);
  return error ? PyLong_FromSize_t(error->CountOfParameter()) : nullptr;
}

// The error and a key, for the functions of form "l|s".
COLerror* errorAndKey(PyObject* module, PyObject* args, COLstring& key, PyObject** value = nullptr) {
  PyObject *handle = nullptr, *keyObject = nullptr;
  const bool parsed = value ? PyArg_ParseTuple(args, "O|OO", &handle, &keyObject, value)
                            : PyArg_ParseTuple(args, "O|O", &handle, &keyObject);
  if (!parsed) return nullptr;
  auto* error = SGPYhandle<COLerror>(module, handle);
  if (!error || (keyObject && !SGPYtext(keyObject, key))) return nullptr;
  return error;
}

PyObject* errorGetHasParameter(PyObject* module, PyObject* args) {
  COLstring key;
  COLerror* error = errorAndKey(module, args, key);
  return error ? PyLong_FromLong(error->hasParameter(key) ? 1 : 0) : nullptr;
}

PyObject* errorGetParameter(PyObject* module, PyObject* args) {
  COLstring key;
  COLerror* error = errorAndKey(module, args, key);
  if (!error) return nullptr;
  // parameter() would add a missing key; a question must not change the error.
  return error->hasParameter(key) ? LANstringToPython(error->parameter(key)) : LANstringToPython("", 0);
}

PyObject* errorSetParameter(PyObject* module, PyObject* args) {
  COLstring key, text;
  PyObject* value = nullptr;
  COLerror* error = errorAndKey(module, args, key, &value);
  if (!error || (value && !SGPYtext(value, text))) return nullptr;
  return LANguard([&] {
    error->setParameter(key, text);
    return One();
  });
}

PyObject* errorGetKey(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long index = 0;
  if (!PyArg_ParseTuple(args, "O|l", &handle, &index)) return nullptr;
  auto* error = SGPYhandle<COLerror>(module, handle);
  if (!error || !SGPYinRange(index, static_cast<uint32_t>(error->CountOfParameter()), "Parameter")) return nullptr;
  return LANstringToPython(error->key(static_cast<size_t>(index)));
}

PyObject* guidGenerate(PyObject*, PyObject* args) {
  long bits = 0;
  if (!PyArg_ParseTuple(args, "l", &bits)) return nullptr;
  return LANguard([&] { return LANstringToPython(SGPYguidGenerate(bits)); });
}

// Strong random bytes from the kernel; the random device where the call is missing.
class SGPYrandom {
public:
  bool isStrong() {
    if (hasGetrandom()) return true;
    if (!m_Device) m_Device = std::make_unique<CRYrandom>();
    return m_Device->isStrongRng();
  }
  void generate(unsigned char* data, size_t size) {
    if (!hasGetrandom()) {
      m_Device->generate(data, size);
      return;
    }
    while (size > 0) {
      const ssize_t Count = getrandom(data, size, 0);
      if (Count < 0 && errno == EINTR) continue;
      if (Count <= 0) throw COLerror("This platform does not support strong random number generation.", COL_ERROR_RESOURCE);
      data += Count;
      size -= static_cast<size_t>(Count);
    }
  }

private:
  bool hasGetrandom() {
    if (m_Getrandom < 0) {
      unsigned char Probe;
      m_Getrandom = getrandom(&Probe, 1, GRND_NONBLOCK) == 1 || errno == EAGAIN ? 1 : 0;
    }
    return m_Getrandom == 1;
  }
  int m_Getrandom = -1;
  std::unique_ptr<CRYrandom> m_Device;
};

}  // namespace

COLstring SGPYguidGenerate(long bits) {
  if (bits < 128) throw COLerror("Minimum bit strength of guid is 128", COL_ERROR_RESOURCE);
  if (bits % 8 != 0) throw COLerror("Bit strength must be a multiple of 8", COL_ERROR_RESOURCE);
  if (bits > SGPYguidMaximumBits) throw COLerror("Maximum bit strength of guid is 65536", COL_ERROR_RESOURCE);
  std::vector<unsigned char> Bytes(static_cast<size_t>(bits / 8));
  timespec Now{};
  clock_gettime(CLOCK_REALTIME, &Now);
  const uint32_t Seconds = static_cast<uint32_t>(Now.tv_sec);
  const uint16_t Milliseconds = static_cast<uint16_t>(Now.tv_nsec / 1000000);
  // Little-endian, as every number this system writes.
  for (int At = 0; At < 4; ++At) Bytes[At] = static_cast<unsigned char>(Seconds >> (8 * At));
  Bytes[4] = static_cast<unsigned char>(Milliseconds);
  Bytes[5] = static_cast<unsigned char>(Milliseconds >> 8);
  {
    // One generator for the process, whichever interpreter asks.
    static std::mutex Lock;
    static SGPYrandom Random;
    std::lock_guard<std::mutex> Held(Lock);
    if (!Random.isStrong())
      throw COLerror("This platform does not support strong random number generation.", COL_ERROR_RESOURCE);
    Random.generate(Bytes.data() + 6, Bytes.size() - 6);
  }
  COLstring Hex;
  SFIhexEncodeFilter Filter(&Hex);
  Filter.write(Bytes.data(), Bytes.size());
  return Hex;
}

void SGPYaddErrorFunctions(std::vector<PyMethodDef>& table) {
  const PyMethodDef Functions[] = {
      {"COLerrorCreate", errorCreate, METH_NOARGS, nullptr},
      {"COLerrorAddRef", errorAddRef, METH_O, nullptr},
      {"COLerrorRelease", errorRelease, METH_O, nullptr},
      {"COLerrorGetDescription", errorGetDescription, METH_O, nullptr},
      {"COLerrorSetDescription", errorSetDescription, METH_VARARGS, nullptr},
      {"COLerrorGetCountOfParameter", errorGetCountOfParameter, METH_O, nullptr},
      {"COLerrorGetHasParameter", errorGetHasParameter, METH_VARARGS, nullptr},
      {"COLerrorGetParameter", errorGetParameter, METH_VARARGS, nullptr},
      {"COLerrorSetParameter", errorSetParameter, METH_VARARGS, nullptr},
      {"COLerrorGetKey", errorGetKey, METH_VARARGS, nullptr},
      {"SGPYguidGenerate", guidGenerate, METH_VARARGS, nullptr},
  };
  table.insert(table.end(), std::begin(Functions), std::end(Functions));
}
