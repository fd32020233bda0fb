// The definition model's bound classes: their types are the ones files carry, and each
// configuration reads its own separators through them.
#include <gtest/gtest.h>

#include "QVTclasses.h"
#include "QVTschema.h"

namespace {

std::string memberList(const TREtypeComplex& type) {
  std::string out;
  for (uint16_t i = 0; i < type.countOfMember(); ++i) {
    const TREtypeComplexMember& m = type.member(i);
    out += m.name.str() + ":" + m.typeName.str() + (m.identity ? "!" : "") + std::to_string(m.minOccurs) + "-" +
           std::to_string(m.maxOccurs) + " ";
  }
  return out;
}

TEST(QVTclasses, DeclareTheTypesFilesCarry) {
  QVTregisterTypes();
  EXPECT_EQ(&QVTsepInfoClass().cppType(), &QVTtype("SepInfo"));
  EXPECT_EQ(memberList(QVTtype("SepInfo")),
            "SepCharDefault:tinyInteger!0-1 RepeatCharDefault:tinyInteger0-1 SepCharEscape:tinyInteger0-1 "
            "RepeatCharEscape:tinyInteger0-1 SepCharPosition:integer0-1 RepeatCharPosition:integer0-1 ");
  EXPECT_EQ(memberList(QVTtype("DbInfo")),
            "Label:string!0-1 ApiName:string0-1 DatabaseName:string0-1 UserName:string0-1 Password:string0-1 ");
  EXPECT_EQ(QVTtype("Config").member(QVTconfig::Seperator).typeName.str(), "SepInfo");
}

TEST(QVTclasses, EachConfigurationReadsItsOwnLevels) {
  TRErootInstance Root;
  Root.instance().setType(QVTtype("Config"));
  TREinstanceVector& Levels = Root.instance().vectorMember(QVTconfig::Seperator);
  auto& First = TREcppClass::boundObject<QVTsepInfoClass>(*Levels.push_back().complex());
  First.SepCharDefault = int8_t('|');
  First.SepCharPosition = 3;
  Root.addVersion(0);
  Root.setVersion(1);
  First.SepCharDefault = int8_t('^');
  EXPECT_EQ(First.SepCharDefault.get(), '^');
  EXPECT_EQ(First.SepCharPosition.get(), 3) << "what a configuration didn't change it shares";
  Root.setVersion(0);
  EXPECT_EQ(First.SepCharDefault.get(), '|');
  EXPECT_EQ(First.RepeatCharEscape.get(), 0) << "an unset member reads 0, as files leave them";
  EXPECT_FALSE(First.RepeatCharEscape.isSet());
}

}  // namespace
