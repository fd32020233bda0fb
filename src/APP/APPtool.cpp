#include "APPtool.h"

#include <sys/stat.h>

#include <chrono>
#include <clocale>
#include <cstdio>

#include "APPengine.h"
#include "APPlogReport.h"
#include "APPoutput.h"
#include "APPxmlFileName.h"
#include "APPxmlInput.h"
#include "APPxmlReader.h"
#include "CMDlineParser.h"
#include "COLdateTime.h"
#include "COLerror.h"
#include "FILbinaryFile.h"
#include "FILfilePath.h"
#include "FILpath.h"
#include "LANtimeLimit.h"
#include "MLGlogInput.h"
#include "MLGreader.h"
#include "QVMengine.h"
#include "QVMerror.h"

namespace {

COLstring forceFormatDescription() {
  COLstring text;
  COLostream stream(text);
  stream << "Force the format of the log file to a certain value. Available formats are:" << newline;
  for (unsigned i = 0; i < MLGfactoryCountOfReader(); ++i)
    stream << MLGfactoryName(i) << " : " << MLGfactoryDescription(i) << newline;
  return text;
}

void installOptions(CMDlineParser& parser) {
  parser.setDescription("Command line HL7 <-> XML translation test tool.");
  parser.addExtraParamDescriptionRequired("vmd_file", "Message definition file");
  parser.addExtraParamDescriptionRequired("in_file", "File of messages to be processed by the parser.");
  parser.addExtraParamDescriptionRequired("out_file", "Message file to be output by the parser.");
  parser.addFlagWithArgument("forceformat", "format", forceFormatDescription());
  parser.addFlagWithoutArgument(
      "toxml",
      "Transform messages using Message -> XML translation. The output files will be prefixed with the message number.");
  parser.addFlagWithoutArgument("toxsd", "Generate an xsd from the vmd file.");
  parser.addFlagWithoutArgument(
      "fromxml",
      "Transform messages using XML -> Message translation. The input file will be prefixed with the message number.");
  parser.addFlagWithoutArgument("version", "Output information about this computer.");
  parser.addFlagWithoutArgument("reload", "Reloads the vmd file between messages. Ignored if --release is present.");
  parser.addFlagWithoutArgument("release",
                                "Releases the engine between messages and reloads the vmd file. Implies --reload.");
  // Hidden flags: the usage text stays as it is; the README documents them.
  parser.addFlagWithArgument("scripttimelimit", "seconds",
                             "Stops the run when one script runs longer than this many seconds (0: no limit).");
  parser.hideFlag("scripttimelimit");
  parser.addFlagWithoutArgument("lenient",
                                "Translates a message that lacks required segments or groups, with a warning for "
                                "each one, instead of failing it.");
  parser.hideFlag("lenient");
}

unsigned scriptTimeLimit(CMDlineParser& parser) {
  if (!parser.isFlagPresent("scripttimelimit")) return APPdefaultScriptTimeLimit;
  const COLstring text = parser.flagArgument("scripttimelimit");
  if (text.empty() || text.size() > 9 || text.view().find_first_not_of("0123456789") != std::string_view::npos)
    throw COLerror("--scripttimelimit takes a whole number of seconds (0: no limit), not '" + text + "'.",
                   COL_ERROR_BAD_ARGUMENT);
  return static_cast<unsigned>(std::stoul(std::string(text.view())));
}

COLstring formatNames() {
  COLstring names;
  for (unsigned i = 0; i < MLGfactoryCountOfReader(); ++i) {
    if (i) names += ", ";
    names += MLGfactoryName(i);
  }
  return names;
}

// The reader of the run, opened on `path` (the log, or its copy); null after telling the user
// why there is none.
MLGreader* openReader(bool fromxml, const COLstring& formatName, const COLstring& inFile, const COLstring& path,
                      COLostream& out) {
  if (fromxml) {
    COLownerPtr<MLGreader> reader(new APPxmlReader);
    reader->open(inFile);
    return reader.release();
  }
  COLownerPtr<MLGreader> reader;
  if (formatName.empty()) {
    reader = MLGfactoryOpen(path);
    COLstring note, why;
    if (!reader) reader = MLGfactoryOpenUnrecognised(path, note, why);
    if (!reader && why == "is empty") {
      out << "The log file '" << inFile << "' is empty: it holds no message." << newline << flush;
      return nullptr;
    }
    if (!reader) {
      out << "The format of the log file '" << inFile << "' could not be recognised. Give it with --forceformat NAME, "
          << "where NAME is one of: " << formatNames() << ". The log " << why << "." << newline << flush;
      return nullptr;
    }
    if (!note.empty()) {
      out << "Log File Type: " << MLGfactoryFormatName(reader->fileFormat()) << newline << note << newline << flush;
      return reader.release();
    }
  } else {
    reader = MLGfactoryFromName(formatName);
    if (!reader) {
      out << "Unknown log file format '" << formatName << "' given to --forceformat. The formats are: "
          << formatNames() << "." << newline << flush;
      return nullptr;
    }
    reader->open(path);
  }
  out << "Log File Type: " << MLGfactoryFormatName(reader->fileFormat()) << newline << flush;
  return reader.release();
}

// The directory part and the file name of a path as the tool splits it for numbered files.
void splitPath(const COLstring& path, COLstring& directory, COLstring& name) {
  const FILfilePath filePath(path);
  directory = FILaddPathSeparator(filePath.fullDirectory());
  name = filePath.fullFilename();
}

bool sameExistingFile(const COLstring& first, const COLstring& second) {
  struct stat a, b;
  return ::stat(first.c_str(), &a) == 0 && ::stat(second.c_str(), &b) == 0 && a.st_dev == b.st_dev &&
         a.st_ino == b.st_ino;
}

// Whether `path` is one of the numbered files "00001name", "00002name", ... of `numbered`.
bool isNumberedFileOf(const COLstring& path, const COLstring& numbered) {
  COLstring pathDirectory, pathName, directory, name;
  splitPath(path, pathDirectory, pathName);
  splitPath(numbered, directory, name);
  if (pathName.size() < name.size() + 5 || !sameExistingFile(pathDirectory, directory)) return false;
  const std::string_view text(pathName);
  if (text.substr(text.size() - name.size()) != std::string_view(name)) return false;
  const std::string_view digits = text.substr(0, text.size() - name.size());
  return digits.find_first_not_of("0123456789") == std::string_view::npos;
}

// An output that is one of the run's inputs would be emptied or overwritten before it is read:
// refuse before anything is opened for writing.
void refuseOutputOverInput(bool toxml, bool toxsd, bool fromxml, const COLstring& vmdFile, const COLstring& inFile,
                           const COLstring& outFile) {
  auto refuse = [&](const COLstring& input, const char* what) {
    throw COLerror("The output '" + outFile + "' would overwrite the " + what + " '" + input +
                       "'; nothing was written. Give an output path of its own.",
                   COL_ERROR_PRECONDITION);
  };
  if (toxml) {
    // The numbered outputs "00001name", ... must not land on the definition or the log.
    if (isNumberedFileOf(vmdFile, outFile)) refuse(vmdFile, "definition");
    if (isNumberedFileOf(inFile, outFile)) refuse(inFile, "log");
    return;
  }
  if (sameExistingFile(outFile, vmdFile)) refuse(vmdFile, "definition");
  if (toxsd) return;
  if (fromxml) {
    if (isNumberedFileOf(outFile, inFile)) refuse(outFile, "XML input");
  } else if (sameExistingFile(outFile, inFile)) {
    refuse(inFile, "log");
  }
}

// Drops a partly written output; the error that got us here is the one the user sees.
void discardOutput(FILbinaryFile& file, const COLstring& path) {
  try {
    if (file.isOpen()) file.close();
  } catch (const COLerror&) {
  }
  // Only what the run made: a device such as /dev/null given as the output stays.
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0 || !(S_ISREG(info.st_mode) || S_ISLNK(info.st_mode))) return;
  try {
    FILremove(path);
  } catch (const COLerror&) {
  }
}

}  // namespace

void APPprintElapsed(COLostream& out, double seconds) {
  // Spans of a second or more read as days, hours, minutes and seconds; a shorter one, which
  // that form would print as nothing, as the fraction of a second it took.
  if (seconds >= 1.0) {
    out << COLdateTimeSpan(seconds / 86400.0);
  } else if (seconds > 0.0) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6f seconds", seconds);
    out << text;
  }
}

namespace {

int runTool(int argc, const char* const* argv, COLostream& out, APPengineFactory makeEngine) {
  CMDlineParser parser;
  installOptions(parser);
  parser.parseArgs(argc, argv);
  if (parser.countOfExtraArgument() != 3 || parser.unknownFlagPresent(out)) {
    parser.showUsage(out);
    return 1;
  }

  COLstring formatName;
  if (parser.isFlagPresent("forceformat")) formatName = parser.flagArgument("forceformat");
  const bool toxml = parser.isFlagPresent("toxml");
  const bool toxsd = !toxml && parser.isFlagPresent("toxsd");
  const bool fromxml = !toxml && !toxsd && parser.isFlagPresent("fromxml");
  const bool version = !toxml && !toxsd && !fromxml && parser.isFlagPresent("version");

  if (version) {
    QVMengine engine;
    const char* locale = std::setlocale(LC_ALL, nullptr);
    out << "Current Locale: " << (locale ? locale : "") << newline << flush;
    out << "Engine Version: " << engine.versionString() << newline << flush;
    return 0;
  }

  const COLstring vmdFile = parser.extraArgument(size_t{0});
  const COLstring inFile = parser.extraArgument(size_t{1});
  const COLstring outFile = parser.extraArgument(size_t{2});
  const bool release = parser.isFlagPresent("release");
  const bool reload = parser.isFlagPresent("reload");
  const bool lenient = parser.isFlagPresent("lenient");

  refuseOutputOverInput(toxml, toxsd, fromxml, vmdFile, inFile, outFile);
  LANsetScriptTimeLimit(scriptTimeLimit(parser), APPstopOverrunningScript);

  if (toxsd) {
    QVMengine engine;
    engine.Load(vmdFile);
    APPwriteSchema(engine, outFile);
    return 0;
  }

  // A pipe given as the log is copied first: it could be read only once.
  const MLGlogInput logInput(fromxml ? COLstring() : inFile);
  COLownerPtr<MLGreader> reader(openReader(fromxml, formatName, inFile, logInput.path(), out));
  if (!reader) return 1;
  auto* xmlReader = dynamic_cast<APPxmlReader*>(reader.get());
  COLstring noInputWarning;
  if (xmlReader) noInputWarning = APPcheckNumberedInputs(xmlReader->directory(), xmlReader->fileName());
  APPlogReport report(out, *reader, logInput.path(), !fromxml);

  FILbinaryFile outputFile(FILtypeBuffered);
  COLostream output(outputFile);
  if (!toxml) outputFile.open(outFile, FILmodeCreate);

  COLreferencePtr<APPengine> engine(makeEngine());
  engine->Load(vmdFile);

  // A steady clock fine to the microsecond: whole seconds would make the rate of a short run
  // meaningless and its elapsed time print as nothing.
  const auto startTime = std::chrono::steady_clock::now();
  COLstring xmlDirectory, xmlName;
  if (toxml) {
    splitPath(outFile, xmlDirectory, xmlName);
    APPmakeOutputDirectory(xmlDirectory);
    APPremoveUnfinishedOutputOnSignal();
    APPremoveEarlierNumberedFiles(xmlDirectory, xmlName, out);
  }

  CMDprogressMeter progress;
  unsigned count = 0;
  while (reader->hasNextMessage()) {
    const COLstring message = reader->nextMessage();
    progress.setProgress(count + 1, " messages", out);
    report.afterMessage(count + 1, message.empty());
    APPlogReport::Guard failure(report, count + 1);
    if (toxml) {
      // Translated before the file is made, so a message that fails leaves no empty file.
      APPlogReport::MessageNotes notes(report, count + 1, lenient);
      const COLstring xml = engine->translateMessageToXml(message);
      APPwriteWholeFile(APPxmlFileName(count + 1, xmlDirectory, xmlName), xml);
      notes.report();
    } else if (fromxml) {
      const COLstring flat = APPtranslateXmlFile(*engine, xmlReader->lastFileName(), message);
      try {
        output << flat << newline << flush;
      } catch (const COLerror&) {
        discardOutput(outputFile, outFile);
        throw;
      }
    }
    failure.done();
    ++count;
    if (release) {
      engine = makeEngine();  // the old engine goes only once the new one exists
      engine->Load(vmdFile);
    } else if (reload) {
      engine->Load(vmdFile);
    }
  }

  if (xmlReader) APPcheckAllInputsRead(xmlReader->directory(), xmlReader->fileName(), count);
  if (fromxml && outputFile.isOpen()) {
    try {
      outputFile.close();  // the last chance for the system to refuse the data
    } catch (const COLerror&) {
      discardOutput(outputFile, outFile);
      throw;
    }
  }

  report.afterLastMessage();
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - startTime).count();
  if (!noInputWarning.empty()) out << newline << noInputWarning;
  out << "\nElapsed time: ";
  APPprintElapsed(out, seconds);
  if (seconds > 0.0)
    out << "\nMessages per second: " << static_cast<double>(count) / seconds;
  else
    out << "\n" << count << " messages processed in less than a second!";
  reader->close();
  return report.summary() ? 1 : 0;  // the run went through, but not every bit of the log made a message
}

}  // namespace

int APPrunTool(int argc, const char* const* argv, COLostream& out, APPengineFactory makeEngine) {
  if (!makeEngine) makeEngine = [] { return new APPengine; };
  try {
    return runTool(argc, argv, out, makeEngine);
  } catch (const COLerror& error) {
    out << error << newline << flush;
  } catch (const QVMerror& error) {
    out << error.Description() << newline << flush;
  }
  return 1;
}
