// SGCerror: a content fault inside one segment (a missing or malformed value, a value too
// long, too many repeats, a bad escape), found by the segment checks and kept until the
// caller decides to report it.  A fault holds only coordinates; its words, its position in
// the printed segment and its named parameters are worked out when a person asks for them.
// Structural faults of a whole message are another family (SGCparsedError).
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "COLerror.h"
#include "COLostream.h"
#include "COLstring.h"

class QVMsegmentGrammar;
class SGMsegment;

// Kinds of bad format: what SGCerrorBad* carry as their validation error.
enum SGCvalidationError : unsigned {
  SGCinvalidDouble = 0,
  SGCinvalidInteger = 1,
  SGCinvalidDateTime = 2,
  SGCinvalidEnumeration = 3,
};

class SGCerror {
public:
  // A level the fault does not have, and a context that cannot be shown.
  static constexpr unsigned NoIndex = 0xFFFFFFFF;
  static constexpr int NoContext = -1;

  SGCerror(const QVMsegmentGrammar& grammar, unsigned segmentIndex, unsigned field, unsigned repeat = NoIndex,
           unsigned subField = NoIndex, unsigned subSubField = NoIndex)
      : m_Grammar(grammar), m_SegmentIndex(segmentIndex), m_Field(field), m_Repeat(repeat), m_SubField(subField),
        m_SubSubField(subSubField) {}
  SGCerror(const SGCerror&) = delete;
  SGCerror& operator=(const SGCerror&) = delete;
  virtual ~SGCerror() = default;

  const QVMsegmentGrammar& segmentGrammar() const { return m_Grammar; }
  unsigned segmentIndex() const { return m_SegmentIndex; }

  virtual unsigned fieldIndex() const { return m_Field; }
  virtual unsigned repeatIndex() const { return m_Repeat; }
  virtual unsigned subFieldIndex() const { return m_SubField; }
  virtual unsigned subSubFieldIndex() const { return m_SubSubField; }
  // The sentence, with one-based numbers and the grammar's names.
  virtual void formatError(const SGMsegment& segment, COLostream& stream) const = 0;
  // Zero-based offsets into the segment as SGMoutputSegment prints it; NoContext when the
  // fault lies beyond what the segment holds.
  virtual int startOfContext(const SGMsegment& segment) const = 0;
  virtual int endOfContext(const SGMsegment& segment) const = 0;
  // Named parameters for programs that read the report.
  virtual void populateErrorContext(const SGMsegment& segment, COLerror& error) const = 0;

private:
  const QVMsegmentGrammar& m_Grammar;
  unsigned m_SegmentIndex;
  unsigned m_Field;
  unsigned m_Repeat;
  unsigned m_SubField;
  unsigned m_SubSubField;
};

class SGCerrorMissingField : public SGCerror {
public:
  SGCerrorMissingField(const QVMsegmentGrammar& grammar, unsigned segmentIndex, unsigned field)
      : SGCerror(grammar, segmentIndex, field) {}
  void formatError(const SGMsegment& segment, COLostream& stream) const override;
  int startOfContext(const SGMsegment& segment) const override;
  int endOfContext(const SGMsegment& segment) const override;
  void populateErrorContext(const SGMsegment& segment, COLerror& error) const override;
};

class SGCerrorFieldRepeatExceeded : public SGCerror {
public:
  SGCerrorFieldRepeatExceeded(const QVMsegmentGrammar& grammar, unsigned segmentIndex, unsigned field)
      : SGCerror(grammar, segmentIndex, field) {}
  void formatError(const SGMsegment& segment, COLostream& stream) const override;
  int startOfContext(const SGMsegment& segment) const override;
  int endOfContext(const SGMsegment& segment) const override;
  void populateErrorContext(const SGMsegment& segment, COLerror& error) const override;
};

class SGCerrorMissingSubField : public SGCerror {
public:
  SGCerrorMissingSubField(const QVMsegmentGrammar& grammar, unsigned segmentIndex, unsigned field, unsigned repeat,
                          unsigned subField)
      : SGCerror(grammar, segmentIndex, field, repeat, subField) {}
  void formatError(const SGMsegment& segment, COLostream& stream) const override;
  int startOfContext(const SGMsegment& segment) const override;
  int endOfContext(const SGMsegment& segment) const override;
  void populateErrorContext(const SGMsegment& segment, COLerror& error) const override;
};

class SGCerrorMissingSubSubField : public SGCerror {
public:
  SGCerrorMissingSubSubField(const QVMsegmentGrammar& grammar, unsigned segmentIndex, unsigned field,
                             unsigned repeat, unsigned subField, unsigned subSubField)
      : SGCerror(grammar, segmentIndex, field, repeat, subField, subSubField) {}
  void formatError(const SGMsegment& segment, COLostream& stream) const override;
  int startOfContext(const SGMsegment& segment) const override;
  int endOfContext(const SGMsegment& segment) const override;
  void populateErrorContext(const SGMsegment& segment, COLerror& error) const override;
};

// Also used for the single value of a field whose type wraps one primitive (sub field 0).
class SGCerrorSubFieldTooLong : public SGCerror {
public:
  SGCerrorSubFieldTooLong(const QVMsegmentGrammar& grammar, unsigned segmentIndex, unsigned field, unsigned repeat,
                          unsigned subField)
      : SGCerror(grammar, segmentIndex, field, repeat, subField) {}
  // The limit, looked up again in the grammar.
  unsigned maxLength() const;
  void formatError(const SGMsegment& segment, COLostream& stream) const override;
  int startOfContext(const SGMsegment& segment) const override;
  int endOfContext(const SGMsegment& segment) const override;
  void populateErrorContext(const SGMsegment& segment, COLerror& error) const override;
};

class SGCerrorSubSubFieldTooLong : public SGCerror {
public:
  SGCerrorSubSubFieldTooLong(const QVMsegmentGrammar& grammar, unsigned segmentIndex, unsigned field,
                             unsigned repeat, unsigned subField, unsigned subSubField)
      : SGCerror(grammar, segmentIndex, field, repeat, subField, subSubField) {}
  unsigned maxLength() const;
  void formatError(const SGMsegment& segment, COLostream& stream) const override;
  int startOfContext(const SGMsegment& segment) const override;
  int endOfContext(const SGMsegment& segment) const override;
  void populateErrorContext(const SGMsegment& segment, COLerror& error) const override;
};

class SGCerrorBadField : public SGCerror {
public:
  SGCerrorBadField(unsigned validationError, const QVMsegmentGrammar& grammar, unsigned segmentIndex,
                   unsigned field, unsigned repeat)
      : SGCerror(grammar, segmentIndex, field, repeat), m_ValidationError(validationError) {}
  unsigned validationError() const { return m_ValidationError; }
  void formatError(const SGMsegment& segment, COLostream& stream) const override;
  int startOfContext(const SGMsegment& segment) const override;
  int endOfContext(const SGMsegment& segment) const override;
  void populateErrorContext(const SGMsegment& segment, COLerror& error) const override;

private:
  unsigned m_ValidationError;
};

class SGCerrorBadSubField : public SGCerror {
public:
  SGCerrorBadSubField(unsigned validationError, const QVMsegmentGrammar& grammar, unsigned segmentIndex,
                      unsigned field, unsigned repeat, unsigned subField)
      : SGCerror(grammar, segmentIndex, field, repeat, subField), m_ValidationError(validationError) {}
  unsigned validationError() const { return m_ValidationError; }
  void formatError(const SGMsegment& segment, COLostream& stream) const override;
  int startOfContext(const SGMsegment& segment) const override;
  int endOfContext(const SGMsegment& segment) const override;
  void populateErrorContext(const SGMsegment& segment, COLerror& error) const override;

private:
  unsigned m_ValidationError;
};

class SGCerrorBadSubSubField : public SGCerror {
public:
  SGCerrorBadSubSubField(unsigned validationError, const QVMsegmentGrammar& grammar, unsigned segmentIndex,
                         unsigned field, unsigned repeat, unsigned subField, unsigned subSubField)
      : SGCerror(grammar, segmentIndex, field, repeat, subField, subSubField), m_ValidationError(validationError) {}
  unsigned validationError() const { return m_ValidationError; }
  void formatError(const SGMsegment& segment, COLostream& stream) const override;
  int startOfContext(const SGMsegment& segment) const override;
  int endOfContext(const SGMsegment& segment) const override;
  void populateErrorContext(const SGMsegment& segment, COLerror& error) const override;

private:
  unsigned m_ValidationError;
};

// The sub levels may be NoIndex; the field may lie beyond the grammar.
class SGCerrorInvalidEscape : public SGCerror {
public:
  SGCerrorInvalidEscape(const QVMsegmentGrammar& grammar, const COLstring& description, unsigned segmentIndex,
                        unsigned field, unsigned repeat, unsigned subField, unsigned subSubField)
      : SGCerror(grammar, segmentIndex, field, repeat, subField, subSubField), m_Description(description) {}
  const COLstring& escapeDescription() const { return m_Description; }
  void formatError(const SGMsegment& segment, COLostream& stream) const override;
  int startOfContext(const SGMsegment& segment) const override;
  int endOfContext(const SGMsegment& segment) const override;
  void populateErrorContext(const SGMsegment& segment, COLerror& error) const override;

private:
  COLstring m_Description;
};

// The faults of one segment (or one message), in the order found.  Owns them.
class SGCerrorList {
public:
  using Storage = std::vector<std::unique_ptr<SGCerror>>;

  size_t size() const { return m_Errors.size(); }
  bool empty() const { return m_Errors.empty(); }
  void clear() { m_Errors.clear(); }
  SGCerror& operator[](size_t index) const { return *m_Errors[index]; }
  SGCerror& at(size_t index) const { return *m_Errors.at(index); }
  void push_back(std::unique_ptr<SGCerror> error) { m_Errors.push_back(std::move(error)); }
  template <class T, class... Args>
  T& add(Args&&... args) {
    m_Errors.push_back(std::make_unique<T>(std::forward<Args>(args)...));
    return static_cast<T&>(*m_Errors.back());
  }
  Storage::const_iterator begin() const { return m_Errors.begin(); }
  Storage::const_iterator end() const { return m_Errors.end(); }

private:
  Storage m_Errors;
};

// "Invalid double format", "Invalid integer format", "Invalid datetime format",
// "Invalid enumeration value"; any other number throws "Unknown validation error type.".
void SGCoutputErrorType(unsigned validationError, COLostream& stream);
// Nothing for repeat 0, else " (repeat N)" with the zero-based repeat.
void SGCoutputRepeat(unsigned repeat, COLostream& stream);
// "s" when the number exceeds 1.
void SGCoutputPlural(unsigned count, COLostream& stream);
// "SegmentGrammarErrorCode" and "SegmentGrammarErrorDescription" of a bad format.
void SGCsetValidationError(unsigned validationError, COLerror& error);
// `start` blanks, then one caret per byte of the range (at least one).  Nothing for NoContext.
void SGCshowContext(int start, int end, COLostream& stream);
