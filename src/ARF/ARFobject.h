// ARF: the object layer under the version-one definition format. A document is a tree of
// objects, each with a name, at most one key (name and value) and named text properties.
// Readers and writers of a concrete syntax (ARFX is the XML one) derive from ARFreader and
// ARFwriter; the definition walker (ANT) sees only these classes.
#pragma once

#include <cstddef>
#include <exception>

#include "COLerror.h"
#include "COLstring.h"

// Where an item stands in its document, for error texts; 0 when unknown. A reader may give
// only the byte offset and work out line and column when an error needs them: counting lines
// for every item of a large file is a good part of its load.
struct ARFposition {
  unsigned line = 0;
  unsigned column = 0;
  size_t offset = static_cast<size_t>(-1);
};

struct ARFkey {
  COLstring name;
  COLstring value;
  // Set by a reader: the item carried the key.
  bool present = false;
  bool isSet() const { return !name.empty(); }
};

class ARFobj {
public:
  ARFobj(ARFobj* parent, const char* name) : m_Parent(parent), m_Name(name) {}
  ARFobj(ARFobj* parent, const char* name, const char* keyName, const COLstring& keyValue = COLstring())
      : m_Parent(parent), m_Name(name) {
    m_Key.name = keyName;
    m_Key.value = keyValue;
  }
  ARFobj(const ARFobj&) = delete;
  ARFobj& operator=(const ARFobj&) = delete;

  ARFobj* parent() const { return m_Parent; }
  const COLstring& name() const { return m_Name; }
  ARFkey& key() { return m_Key; }
  const ARFkey& key() const { return m_Key; }
  const ARFposition& position() const { return m_Position; }
  void setPosition(const ARFposition& position) { m_Position = position; }
  // The reader's own handle on the item it matched; null while the object is not open.
  void* readerNode() const { return m_ReaderNode; }
  void setReaderNode(void* node) { m_ReaderNode = node; }

private:
  ARFobj* m_Parent;
  COLstring m_Name;
  ARFkey m_Key;
  ARFposition m_Position;
  void* m_ReaderNode = nullptr;
};

struct ARFprop {
  ARFprop(ARFobj& owner, const char* propName) : obj(owner), name(propName) {}
  ARFprop(ARFobj& owner, const char* propName, const COLstring& text) : obj(owner), name(propName), value(text) {}
  ARFobj& obj;
  COLstring name;
  COLstring value;
  ARFposition position;
};

class ARFreader {
public:
  virtual ~ARFreader() = default;

  // Opens the first unread child of obj.parent() with obj's name and fills obj's key value
  // (the key name says which attribute). False when there is none left.
  bool objStart(ARFobj& obj) { return m_Success = objStartImpl(obj); }
  // Closes an open object; it is then read and not offered again.
  bool objEnd(ARFobj& obj) { return m_Success = objEndImpl(obj); }
  // Takes the first unread property of that name; false (value untouched) when absent.
  bool objProp(ARFprop& prop) { return m_Success = objPropImpl(prop); }
  bool success() const { return m_Success; }

  // Throws a COLerror that names the document and the position, with `what` as the reason.
  [[noreturn]] void raise(const ARFposition& where, const COLstring& what) const { throw errorAt(where, what); }
  virtual COLerror errorAt(const ARFposition& where, const COLstring& what) const = 0;

protected:
  virtual bool objStartImpl(ARFobj& obj) = 0;
  virtual bool objEndImpl(ARFobj& obj) = 0;
  virtual bool objPropImpl(ARFprop& prop) = 0;

private:
  bool m_Success = false;
};

class ARFwriter {
public:
  virtual ~ARFwriter() = default;

  void objStart(const ARFobj& obj) { objStartImpl(obj); }
  void objEnd(const ARFobj& obj) { objEndImpl(obj); }
  void objProp(const ARFprop& prop) { objPropImpl(prop, false); }
  // The same for text that people read as a block (scripts): kept as it stands.
  void objPropRaw(const ARFprop& prop) { objPropImpl(prop, true); }

protected:
  virtual void objStartImpl(const ARFobj& obj) = 0;
  virtual void objEndImpl(const ARFobj& obj) = 0;
  virtual void objPropImpl(const ARFprop& prop, bool raw) = 0;
};

// Opens an object for reading; closes it at the end of the scope when it was opened.
class ARFscopedRead {
public:
  ARFscopedRead(ARFreader& reader, ARFobj& obj) : m_Reader(reader), m_Obj(obj), m_Open(reader.objStart(obj)) {}
  ARFscopedRead(const ARFscopedRead&) = delete;
  ARFscopedRead& operator=(const ARFscopedRead&) = delete;
  ~ARFscopedRead() {
    if (m_Open) m_Reader.objEnd(m_Obj);
  }
  bool isOpen() const { return m_Open; }
  explicit operator bool() const { return m_Open; }

private:
  ARFreader& m_Reader;
  ARFobj& m_Obj;
  bool m_Open;
};

// Writes the start of an object now and its end at the end of the scope, unless a failure
// is unwinding (the text is thrown away then).
class ARFscopedWrite {
public:
  ARFscopedWrite(ARFwriter& writer, const ARFobj& obj) : m_Writer(writer), m_Obj(obj) { writer.objStart(obj); }
  ARFscopedWrite(const ARFscopedWrite&) = delete;
  ARFscopedWrite& operator=(const ARFscopedWrite&) = delete;
  ~ARFscopedWrite() noexcept(false) {
    if (std::uncaught_exceptions() == m_Exceptions) m_Writer.objEnd(m_Obj);
  }

private:
  ARFwriter& m_Writer;
  const ARFobj& m_Obj;
  int m_Exceptions = std::uncaught_exceptions();
};
