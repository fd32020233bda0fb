#include "APPtool.h"

#include <clocale>

#include "CMDlineParser.h"
#include "COLerror.h"
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
}

int runTool(int argc, const char* const* argv, COLostream& out) {
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

  if (toxsd) {
    QVMengine engine;
    engine.Load(vmdFile);
    engine.generateXsd(outFile);
    return 0;
  }

  if (fromxml) throw COLerror("Reading numbered XML files is not available yet in this build.", COL_ERROR_PRECONDITION);
  if (formatName.empty()) MLGfactoryOpen(inFile);
  else MLGfactoryFromName(formatName);
  return 0;
}

}  // namespace

int APPrunTool(int argc, const char* const* argv, COLostream& out) {
  try {
    return runTool(argc, argv, out);
  } catch (const COLerror& error) {
    out << error << newline << flush;
  } catch (const QVMerror& error) {
    out << error.Description() << newline << flush;
  }
  return 1;
}
