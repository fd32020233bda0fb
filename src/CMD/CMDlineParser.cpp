#include "CMDlineParser.h"

#include <algorithm>
#include <cstring>

#include "COLerror.h"
#include "COLostream.h"

struct CMDlineParser::Private {
  COLstring Description;
  COLstring ProgramName;
  bool ParseCalled = false;
  bool HasFileList = false;
  std::vector<COLstring> ExtraValues;
  std::vector<CMDextraParamDescription> ExtraDescriptions;
  std::vector<COLreferencePtr<CMDlineFlag>> Flags;  // in order of first mention
  COLstring Empty;

  CMDlineFlag* find(const COLstring& name) const {
    for (const auto& flag : Flags)
      if (flag->Name == name) return flag.get();
    return nullptr;
  }

  // Finds or appends; a new flag is unknown until the program installs it.
  CMDlineFlag& findOrAdd(const COLstring& name) {
    if (CMDlineFlag* flag = find(name)) return *flag;
    COLreferencePtr<CMDlineFlag> flag(new CMDlineFlag);
    flag->Name = name;
    Flags.push_back(flag);
    return *flag;
  }

  CMDlineFlag& install(const COLstring& name) {
    CMDlineFlag& flag = findOrAdd(name);
    flag.IsKnown = true;
    return flag;
  }

  CMDlineFlag& addPresent(const COLstring& name) {
    CMDlineFlag& flag = findOrAdd(name);
    if (flag.IsPresent) flag.UsedMoreThanOnce = true;
    flag.IsPresent = true;
    return flag;
  }
};

namespace {
bool isHelpWord(const char* word) {
  static const char* const kHelpWords[] = {"--help", "-help", "-?", "--?", "/?", "-h"};
  return std::any_of(std::begin(kHelpWords), std::end(kHelpWords),
                     [word](const char* help) { return std::strcmp(word, help) == 0; });
}

COLstring withoutLeadingDashes(const char* word) {
  while (*word == '-') ++word;
  return COLstring(word);
}

bool isFlagWord(const char* word) {
  return std::strlen(word) >= 2 && word[0] == '-' && !withoutLeadingDashes(word).empty();
}

bool isListed(const CMDlineFlag& flag) { return flag.IsKnown && !flag.IsHidden; }
}  // namespace

CMDlineParser::CMDlineParser() : m_Private(std::make_unique<Private>()) {}
CMDlineParser::~CMDlineParser() = default;

void CMDlineParser::setDescription(const COLstring& text) { m_Private->Description = text; }

void CMDlineParser::addExtraParamDescriptionRequired(const COLstring& name, const COLstring& description) {
  m_Private->ExtraDescriptions.push_back({name, description, true});
}

void CMDlineParser::addExtraParamDescription(const COLstring& name, const COLstring& description) {
  m_Private->ExtraDescriptions.push_back({name, description, false});
}

void CMDlineParser::setHasFileList(bool hasFileList, const COLstring& description) {
  m_Private->HasFileList = hasFileList;
  addExtraParamDescription("Files to be processed", description);
}

void CMDlineParser::addFlagWithArgument(const COLstring& name, const COLstring& argumentName) {
  CMDlineFlag& flag = m_Private->install(name);
  flag.TakesArgument = true;
  flag.ArgumentName = argumentName;
}

void CMDlineParser::addFlagWithArgument(const COLstring& name, const COLstring& argumentName,
                                        const COLstring& description) {
  addFlagWithArgument(name, argumentName);
  m_Private->find(name)->Description = description;
}

void CMDlineParser::addFlagWithoutArgument(const COLstring& name, const COLstring& description) {
  CMDlineFlag& flag = m_Private->install(name);
  flag.TakesArgument = false;
  flag.Description = description;
}

bool CMDlineParser::flagPresent(const COLstring& name, const COLstring& description) {
  CMDlineFlag& flag = m_Private->install(name);
  flag.Description = description;
  return flag.IsPresent;
}

void CMDlineParser::hideFlag(const COLstring& name) {
  if (CMDlineFlag* flag = m_Private->find(name)) flag->IsHidden = true;
}

void CMDlineParser::parseArgs(int argc, const char* const* argv) {
  if (m_Private->ParseCalled)
    throw COLerror("CMDlineParser::parseArgs() has been called more than once.", COL_ERROR_PRECONDITION);
  m_Private->ParseCalled = true;
  COL_PRECONDITION(argc != 0);
  m_Private->ProgramName = argv[0];

  int index = 1;
  for (; index < argc; ++index) {
    const char* word = argv[index];
    if (isHelpWord(word)) {
      m_Private->addPresent(withoutLeadingDashes(word)).IsKnown = false;
      continue;
    }
    if (!isFlagWord(word)) break;  // flags end for good at the first positional word
    CMDlineFlag& flag = m_Private->addPresent(withoutLeadingDashes(word));
    if (flag.TakesArgument) {
      if (index + 1 >= argc) throw COLerror("Argument missing", COL_ERROR_RESOURCE);
      flag.Argument = argv[++index];
    }
  }
  for (; index < argc; ++index) m_Private->ExtraValues.emplace_back(argv[index]);
}

bool CMDlineParser::isFlagPresent(const COLstring& name) const {
  const CMDlineFlag* flag = m_Private->find(name);
  if (!flag)
    throw COLerror("EXCEPTION: isFlagPresent was asked to check for the presence of flag " + name +
                       " which was not installed. "
                       "A flag should be first installed using either addFlagWithArgument or "
                       "addFlagWithoutArgument before it is checked for.",
                   COL_ERROR_PRECONDITION);
  return flag->IsPresent;
}

const COLstring& CMDlineParser::flagArgument(const COLstring& name) const {
  const CMDlineFlag* flag = m_Private->find(name);
  if (!flag) throw COLerror(name + " not defined.", COL_ERROR_PRECONDITION);
  return flag->TakesArgument ? flag->Argument : m_Private->Empty;
}

void CMDlineParser::flagArgument(const COLstring& name, COLstring& out) const { out = flagArgument(name); }

size_t CMDlineParser::countOfExtraArgument() const { return m_Private->ExtraValues.size(); }

const COLstring& CMDlineParser::extraArgument(size_t index) const {
  COL_PRECONDITION(index < m_Private->ExtraValues.size());
  return m_Private->ExtraValues[index];
}

const COLstring& CMDlineParser::extraArgument(const COLstring& name) const {
  size_t index = 0;
  if (!findExtraParam(name, index) || index >= m_Private->ExtraValues.size()) return m_Private->Empty;
  return m_Private->ExtraValues[index];
}

bool CMDlineParser::findExtraParam(const COLstring& name, size_t& index) const {
  const auto& descriptions = m_Private->ExtraDescriptions;
  for (size_t i = 0; i < descriptions.size(); ++i) {
    if (descriptions[i].Name == name) {
      index = i;
      return true;
    }
  }
  return false;
}

const COLstring& CMDlineParser::programName() const { return m_Private->ProgramName; }

bool CMDlineParser::unknownFlagPresent(COLostream& stream) const { return parsingErrorsPresent(stream); }

bool CMDlineParser::parsingErrorsPresent(COLostream& stream) const {
  for (const auto& flag : m_Private->Flags) {
    if (!flag->IsKnown) {
      stream << "Unknown flag " << flag->Name << " encountered." << newline;
      return true;
    }
    if (flag->UsedMoreThanOnce) {
      stream << "Flag " << flag->Name << " used more than once." << newline;
      return true;
    }
  }
  return false;
}

namespace {
// One "Known flags:" entry: the head, then the text wrapped so no line passes the width
// where a blank or a newline allows it.
void writeWrappedEntry(COLostream& stream, const COLstring& head, COLstring text, size_t width) {
  const size_t headLength = head.size();
  const COLstring padding(headLength, ' ');
  const size_t room = width > headLength ? width - headLength : 1;
  stream << head;
  while (headLength + text.size() > width) {
    COLstring line;
    const size_t newlineAt = text.find('\n');
    if (newlineAt != COLstring::npos && newlineAt < room) {
      line = text.substr(0, newlineAt);
      text = text.substr(newlineAt + 1);
    } else {
      const size_t blankAt = text.rfind(' ', room);
      // A word wider than the room is cut at the room's edge.
      const size_t cut = blankAt == COLstring::npos ? room : blankAt + 1;
      line = text.substr(0, cut);
      text = text.substr(cut);
    }
    stream << line << newline << padding;
  }
  for (size_t newlineAt = text.find('\n'); newlineAt != COLstring::npos; newlineAt = text.find('\n')) {
    stream << text.substr(0, newlineAt) << newline << padding;
    text = text.substr(newlineAt + 1);
  }
  stream << text << newline;
}
}  // namespace

void CMDlineParser::showUsage(COLostream& stream) const {
  const auto& flags = m_Private->Flags;
  if (m_Private->find("kissbook")) {
    stream << "<table>\n" << "<tr><th>Flag</th><th>Operation</th></tr>\n";
    for (const auto& flag : flags)
      if (isListed(*flag)) stream << "<tr><th>--" << flag->Name << "</th><td>" << flag->Description << "</td></tr>\n";
    stream << "</table>\n";
    return;
  }

  stream << m_Private->Description << newline << "Usage:" << newline << m_Private->ProgramName;
  for (const auto& flag : flags) {
    if (!isListed(*flag)) continue;
    if (flag->TakesArgument) stream << "  [--" << flag->Name << " " << flag->ArgumentName << "]";
    else stream << "  [--" << flag->Name << "]";
  }
  for (const auto& param : m_Private->ExtraDescriptions) {
    if (param.Required) stream << " " << param.Name;
    else stream << " <" << param.Name << ">";
  }
  stream << newline;
  for (const auto& param : m_Private->ExtraDescriptions)
    stream << "   " << param.Name << " - " << param.Description << newline;

  if (flags.empty()) return;
  stream << "Known flags:" << newline;
  size_t longest = 0;
  for (const auto& flag : flags)
    if (isListed(*flag)) longest = std::max(longest, flag->Name.size());
  for (const auto& flag : flags) {
    if (!isListed(*flag)) continue;
    COLstring head = "  --" + flag->Name;
    head += COLstring(4 + longest + CMD_NUMBER_OF_PADDING_SPACES - head.size(), ' ');
    COLstring text = flag->Description;
    if (flag->TakesArgument) {
      if (!text.empty()) text += ". ";
      text += "Requires argument " + flag->ArgumentName + ".";
    }
    writeWrappedEntry(stream, head, text, UsageWidth);
  }
}

void CMDprogressMeter::setProgress(unsigned count, const COLstring& text, COLostream& stream) {
  stream << '\r' << count << text << "    ";
}
