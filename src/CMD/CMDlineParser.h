// The command line of a tool: flags (with or without an argument) before positional
// arguments, the usage listing wrapped at 70 columns, and the complaints about bad flags.
#pragma once

#include <memory>
#include <vector>

#include "COLreference.h"
#include "COLstring.h"

class COLostream;

class CMDlineFlag : public COLreference {
public:
  COLstring Name;           // without leading dashes
  COLstring Description;
  bool TakesArgument = false;
  bool IsPresent = false;
  bool IsKnown = false;     // installed by the program, not merely met on the command line
  COLstring Argument;
  COLstring ArgumentName;
  bool IsHidden = false;
  bool UsedMoreThanOnce = false;
};

struct CMDextraParamDescription {
  COLstring Name;
  COLstring Description;
  bool Required = false;
};

class CMDlineParser {
public:
  static constexpr size_t CMD_NUMBER_OF_PADDING_SPACES = 2;
  static constexpr size_t UsageWidth = 70;

  CMDlineParser();
  virtual ~CMDlineParser();
  CMDlineParser(const CMDlineParser&) = delete;
  CMDlineParser& operator=(const CMDlineParser&) = delete;

  // --- installing
  void setDescription(const COLstring& text);
  void addExtraParamDescriptionRequired(const COLstring& name, const COLstring& description);
  void addExtraParamDescription(const COLstring& name, const COLstring& description);
  void setHasFileList(bool hasFileList, const COLstring& description);
  void addFlagWithArgument(const COLstring& name, const COLstring& argumentName);
  void addFlagWithArgument(const COLstring& name, const COLstring& argumentName, const COLstring& description);
  void addFlagWithoutArgument(const COLstring& name, const COLstring& description);
  // Installs the flag in passing and says whether it was given; usable after parsing.
  bool flagPresent(const COLstring& name, const COLstring& description);
  void hideFlag(const COLstring& name);

  // --- parsing (once)
  void parseArgs(int argc, const char* const* argv);

  // --- querying
  bool isFlagPresent(const COLstring& name) const;
  const COLstring& flagArgument(const COLstring& name) const;
  void flagArgument(const COLstring& name, COLstring& out) const;
  size_t countOfExtraArgument() const;
  const COLstring& extraArgument(size_t index) const;
  const COLstring& extraArgument(const COLstring& name) const;
  bool findExtraParam(const COLstring& name, size_t& index) const;
  size_t countOfFile() const { return countOfExtraArgument(); }
  const COLstring& fileName(size_t index) const { return extraArgument(index); }
  const COLstring& programName() const;

  // Write the first problem found with the flags and return true, or return false.
  bool unknownFlagPresent(COLostream& stream) const;
  bool parsingErrorsPresent(COLostream& stream) const;
  void showUsage(COLostream& stream) const;

private:
  struct Private;
  std::unique_ptr<Private> m_Private;
};

// Writes "\r", the count, the text and four blanks: a progress line that rewrites itself.
class CMDprogressMeter {
public:
  virtual ~CMDprogressMeter() = default;
  void setProgress(unsigned count, const COLstring& text, COLostream& stream);
};
