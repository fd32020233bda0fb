// Settings the model derives from the reflected definition rather than copies: a file from
// a writer that knows only the stored types (no members after them) gets the parser version
// from UseSegmentChecker3 and the preset from PresetConfig; the members this program adds
// are read only where a file has them.
#include <gtest/gtest.h>

#include "CTTcopy.h"
#include "QVMengineInternal.h"
#include "QVTengineInternal.h"

namespace {

QVTobject settingsOf(QVTengineInternal& reflected) { return reflected.plugin().child(QVTpluginBase::Config); }

// Leaves a member as a file without it leaves it: no value at all.
void unset(QVTobject object, uint16_t member) { object.node().member(member).defaultValue().destroyValue(); }

QVMparserVersion parserVersionAfterCopy(QVTengineInternal& reflected) {
  QVMengineInternal model;
  CTTcopy(reflected, model);
  return model.config().parserVersion();
}

TEST(CTTderivedSettings, ParserVersionFollowsUseSegmentChecker3WithoutTheAddedMember) {
  QVTengineInternal reflected;
  QVTobject settings = settingsOf(reflected);
  EXPECT_FALSE(settings.isSet(QVTconfig::ParserVersion));
  // The stored default of UseSegmentChecker3 is true.
  EXPECT_EQ(parserVersionAfterCopy(reflected), QVMparserSegmentChecker3);
  settings.setFlag(QVTconfig::UseSegmentChecker3, false);
  EXPECT_EQ(parserVersionAfterCopy(reflected), QVMparserLegacy);
  // Where a file has the added member, it says which of the three it is.
  settings.setNumber(QVTconfig::ParserVersion, QVMparserCurrent);
  EXPECT_EQ(parserVersionAfterCopy(reflected), QVMparserCurrent);
}

TEST(CTTderivedSettings, AModelOnTheCurrentRoadIsWrittenAsTheNearestLegacyCheckerToo) {
  QVMengineInternal model;
  model.config().setParserVersion(QVMparserCurrent);
  QVTengineInternal reflected;
  CTTcopy(model, reflected);
  QVTobject settings = settingsOf(reflected);
  EXPECT_TRUE(settings.flag(QVTconfig::UseSegmentChecker3));
  EXPECT_EQ(parserVersionAfterCopy(reflected), QVMparserCurrent);
  unset(settings, QVTconfig::ParserVersion);
  EXPECT_EQ(parserVersionAfterCopy(reflected), QVMparserSegmentChecker3);
  model.config().setParserVersion(QVMparserLegacy);
  CTTcopy(model, reflected);
  EXPECT_FALSE(settingsOf(reflected).flag(QVTconfig::UseSegmentChecker3));
  unset(settingsOf(reflected), QVTconfig::ParserVersion);
  EXPECT_EQ(parserVersionAfterCopy(reflected), QVMparserLegacy);
}

TEST(CTTderivedSettings, OnlyThePresetHL7IsAnHl7Preset) {
  QVTengineInternal reflected;
  for (const char* preset : {"HL7", "X12", ""}) {
    settingsOf(reflected).setText(QVTconfig::PresetConfig, preset);
    QVMengineInternal model;
    CTTcopy(reflected, model);
    EXPECT_EQ(model.config().hasHl7PresetConfig(), std::string(preset) == "HL7") << preset;
  }
}

TEST(CTTderivedSettings, XmlToMessageFlagsAreOffWithoutTheAddedMembers) {
  QVTengineInternal reflected;
  QVMengineInternal model;
  model.config().setEscapeDataForXmlToHL7(true);
  CTTcopy(reflected, model);
  EXPECT_FALSE(model.config().escapeDataForXmlToHL7());
  EXPECT_FALSE(model.config().validateDataForXmlToHL7());
  EXPECT_FALSE(model.useDotNetProperties());
}

}  // namespace
