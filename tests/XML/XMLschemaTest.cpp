#include <gtest/gtest.h>

#include <functional>

#include "COLerror.h"
#include "XMLschema.h"
#include "XMLschemaTestSupport.h"

#include "../support/TSTraised.h"

namespace {

using XMLschemaTest::stringElement;

// Types and nodes that count their destructions, to see who deletes what.
int DestroyedTypes = 0;
int DestroyedNodes = 0;

class CountedType : public XMLschemaEnumeration {
public:
  explicit CountedType(const char* name = "") : XMLschemaEnumeration(name) {}
  ~CountedType() override { ++DestroyedTypes; }
};

class CountedSequence : public XMLschemaSequence {
public:
  ~CountedSequence() override { ++DestroyedNodes; }
};

void expectPrecondition(const std::function<void()>& action) {
  const COLerror Error = TSTraised([&] { action(); });
  EXPECT_EQ(Error.code(), 0x80000100u);
  EXPECT_EQ(Error.description().view().substr(0, 21), "Failed precondition: ");
}

TEST(XMLschemaModel, ElementsDeleteOwnedTypesAndLeaveReferencedOnes) {
  DestroyedTypes = 0;
  CountedType Shared("Shared");
  {
    XMLschemaElement Owner("Owner", new CountedType(), false);
    XMLschemaElement User("User", &Shared, true);
    EXPECT_FALSE(Owner.isTypeReference());
    EXPECT_TRUE(User.isTypeReference());
    EXPECT_EQ(&User.type(), &Shared);
  }
  EXPECT_EQ(DestroyedTypes, 1);

  // A schema owns its elements (and through them inline types) and its named types.
  DestroyedTypes = 0;
  DestroyedNodes = 0;
  {
    XMLschema Schema;
    auto* Collection = new XMLschemaCollection();
    Schema.attachElement(new XMLschemaElement("E", Collection, false));
    Collection->attachElement(new XMLschemaElement("Inner", new CountedType(), false));
    Collection->attachSequence(new CountedSequence())->attachNode(new CountedSequence());
    Collection->mainSequence().attachChoice(new XMLschemaChoice())->attachSequence(new CountedSequence());
    Schema.attachType(new CountedType("Named"));
    EXPECT_EQ(DestroyedTypes, 0);
  }
  EXPECT_EQ(DestroyedTypes, 2);
  EXPECT_EQ(DestroyedNodes, 3);
}

TEST(XMLschemaModel, PointerDeletesOnlyWhatItOwnsAndPassesOwnershipOnMove) {
  DestroyedTypes = 0;
  CountedType Static;
  {
    XMLschemaPointer<XMLschemaType> Borrowed(&Static, false);
    XMLschemaPointer<XMLschemaType> Owned(new CountedType(), true);
    XMLschemaPointer<XMLschemaType> Moved(std::move(Owned));
    EXPECT_FALSE(Owned);
    EXPECT_TRUE(Moved.owned());
    Moved = XMLschemaPointer<XMLschemaType>(new CountedType(), true);
    EXPECT_EQ(DestroyedTypes, 1);
  }
  EXPECT_EQ(DestroyedTypes, 2);
}

TEST(XMLschemaModel, SchemaKeepsAttachOrderAndFindsTheFirstExactName) {
  XMLschema Schema;
  XMLschemaElement* First = Schema.attachElement(stringElement("PID"));
  Schema.attachElement(stringElement("pid"));
  XMLschemaElement* Second = Schema.attachElement(stringElement("PID"));
  XMLschemaType* Type = Schema.attachType(new XMLschemaCollection("CX"));
  Schema.attachType(new XMLschemaCollection("CX"));

  ASSERT_EQ(Schema.countOfElements(), 3u);
  EXPECT_EQ(Schema.countOfTypes(), 2u);
  EXPECT_EQ(&Schema.elementAt(0), First);
  EXPECT_EQ(Schema.elementAt(1).name(), "pid");
  EXPECT_EQ(&Schema.elementAt(2), Second);
  EXPECT_EQ(Schema.findElement("PID"), First);
  EXPECT_EQ(Schema.findElement("pid"), &Schema.elementAt(1));
  EXPECT_EQ(Schema.findElement("PI"), nullptr);
  EXPECT_EQ(Schema.findElement("PID "), nullptr);
  EXPECT_EQ(Schema.findType("CX"), Type);
  EXPECT_EQ(Schema.findType("XCN"), nullptr);
  EXPECT_EQ(XMLschema().findType(""), nullptr);

  expectPrecondition([&] { Schema.elementAt(3); });
  expectPrecondition([&] { Schema.typeAt(2); });
  expectPrecondition([&] { Schema.attachElement(nullptr); });
  expectPrecondition([&] { Schema.attachType(nullptr); });
}

TEST(XMLschemaModel, CollectionAttachesToItsMainSequenceOnly) {
  XMLschemaCollection Collection;
  XMLschemaElement Target("T", &XMLschemaSimple::String, true);
  XMLschemaElement* Element = Collection.attachElement(stringElement("A"));
  XMLschemaSequence* Sequence = Collection.attachSequence(new XMLschemaSequence());
  XMLschemaReference* Reference = Collection.attachElementReference(new XMLschemaReference(&Target));
  ASSERT_EQ(Collection.countOfNodes(), 3u);
  const XMLschemaSequence& Main = Collection.mainSequence();
  EXPECT_EQ(&Main.nodeAt(0), Element);
  EXPECT_EQ(&Main.nodeAt(1), Sequence);
  EXPECT_EQ(&Main.nodeAt(2), Reference);
  expectPrecondition([&] { Main.nodeAt(3); });

  // With another main node every attach is refused and nothing is taken over.
  Collection.setMainNode(stringElement("Only"));
  EXPECT_FALSE(Collection.hasSequenceMainNode());
  XMLschemaElement Kept("Kept", &XMLschemaSimple::String, true);
  expectPrecondition([&] { Collection.attachElement(&Kept); });
  expectPrecondition([&] { Collection.attachSequence(nullptr); });
  expectPrecondition([&] { Collection.attachElementReference(nullptr); });
  expectPrecondition([&] { Collection.countOfNodes(); });
  expectPrecondition([&] { Collection.setMainNode(nullptr); });
}

TEST(XMLschemaModel, EnumerationKeepsValuesInOrderAndRefusesNullArguments) {
  XMLschemaEnumeration Enumeration("Sex");
  Enumeration.addValue("M");
  Enumeration.addValue("F");
  ASSERT_EQ(Enumeration.countOfValues(), 2u);
  EXPECT_EQ(Enumeration.valueAt(0), "M");
  EXPECT_EQ(Enumeration.valueAt(1), "F");
  expectPrecondition([&] { Enumeration.valueAt(2); });
  expectPrecondition([] { XMLschemaElement("E", nullptr, false); });
  expectPrecondition([] { XMLschemaReference(nullptr); });
  expectPrecondition([] { XMLschemaSequence().attachNode(nullptr); });
  expectPrecondition([] { XMLschemaChoice().attachElement(nullptr); });
}

}  // namespace
