// The date-time, library-loading and table grammar families.
#include <unistd.h>

#include "QVMhandleSupport.h"
#include "QVMhandleTestSupport.h"

TEST(QVMhandleDateTime, ValuesRoundTripAndSetDateKeepsFractionAndZone) {
  void* value = nullptr;
  EXPECT_HANDLE_OK(_QVMdateTimeCreate(&value));
  int isNull = 0;
  EXPECT_HANDLE_OK(_QVMdateTimeGetIsNull(value, &isNull));
  EXPECT_EQ(isNull, 1);  // a new date-time has no value
  EXPECT_HANDLE_OK(_QVMdateTimeSetZone(value, -800));
  EXPECT_HANDLE_OK(_QVMdateTimeSetSecondFraction(value, 0.25));
  EXPECT_HANDLE_OK(_QVMdateTimeSetDATE(value, 45351.5));  // 29 February 2024, noon
  double date = 0, fraction = 0;
  short zone = 0;
  EXPECT_HANDLE_OK(_QVMdateTimeGetDATE(value, &date));
  EXPECT_HANDLE_OK(_QVMdateTimeGetSecondFraction(value, &fraction));
  EXPECT_HANDLE_OK(_QVMdateTimeGetZone(value, &zone));
  EXPECT_DOUBLE_EQ(date, 45351.5);
  EXPECT_DOUBLE_EQ(fraction, 0.25);
  EXPECT_EQ(zone, -800);
  EXPECT_HANDLE_OK(_QVMdateTimeGetIsNull(value, &isNull));
  EXPECT_EQ(isNull, 0);

  // Two format calls share one text: the second overwrites the first.
  const char* first = nullptr;
  const char* second = nullptr;
  EXPECT_HANDLE_OK(_QVMdateTimeFormat(value, "%Y-%m-%d %H:%M", &first));
  EXPECT_STREQ(first, "2024-02-29 12:00");
  EXPECT_HANDLE_OK(_QVMdateTimeFormat(value, "%d.%m.%Y", &second));
  EXPECT_STREQ(first, "29.02.2024");
  EXPECT_EQ(first, second);

  EXPECT_HANDLE_OK(_QVMdateTimeSetTimeT(value, 86400L * 365));
  long seconds = 0;
  EXPECT_HANDLE_OK(_QVMdateTimeGetTimeT(value, &seconds));
  EXPECT_EQ(seconds, 86400L * 365);
  EXPECT_HANDLE_OK(_QVMdateTimeSetNull(value));
  EXPECT_HANDLE_OK(_QVMdateTimeGetIsNull(value, &isNull));
  EXPECT_EQ(isNull, 1);
  EXPECT_HANDLE_OK(_QVMdateTimeGetTimeT(value, &seconds));
  EXPECT_EQ(seconds, -1L);  // null has no time, as time() reports failure
  EXPECT_HANDLE_OK(_QVMdateTimeRelease(value));
}

// What a library refuses and why is COLdll's (tests/COL/COLdllTest.cpp); here the handles reach it.
TEST(QVMhandleDll, LoadsLibrariesAndFindsSymbols) {
  void* dll = nullptr;
  EXPECT_HANDLE_OK(_QVMdllCreate(&dll));
  EXPECT_TRUE(QVMoutcome(_QVMdllLoadLibrary(dll, "libno-such-library.so")).failed);
  EXPECT_HANDLE_OK(_QVMdllLoadLibrary(dll, "libc.so.6"));
  const char* name = nullptr;
  EXPECT_HANDLE_OK(_QVMdllGetLibraryName(dll, &name));
  EXPECT_STREQ(name, "libc.so.6");
  void* address = nullptr;
  EXPECT_HANDLE_OK(_QVMdllGetProcAddress(dll, "strlen", &address));
  ASSERT_NE(address, nullptr);
  EXPECT_EQ(reinterpret_cast<size_t (*)(const char*)>(address)("four"), 4u);
  EXPECT_HANDLE_OK(_QVMdllFreeLibrary(dll));
  EXPECT_HANDLE_OK(_QVMdllRelease(dll));
}

TEST(QVMhandleTableGrammar, StandaloneGrammarsAreCountedAndEditable) {
  void* grammar = nullptr;
  EXPECT_HANDLE_OK(_QVMtableGrammarCreate(&grammar));
  EXPECT_HANDLE_OK(_QVMtableGrammarSetName(grammar, "Visit"));
  const char* name = nullptr;
  EXPECT_HANDLE_OK(_QVMtableGrammarGetName(grammar, &name));
  EXPECT_STREQ(name, "Visit");
  void* child = nullptr;
  EXPECT_HANDLE_OK(_QVMtableGrammarAddSubGrammarAt(grammar, 0, &child));
  EXPECT_TRUE(QVMoutcome(_QVMtableGrammarAddSubGrammarAt(grammar, 5, &child)).failed);
  unsigned count = 0;
  EXPECT_HANDLE_OK(_QVMtableGrammarGetCountOfSubGrammar(grammar, &count));
  EXPECT_EQ(count, 1u);
  void* parent = nullptr;
  EXPECT_HANDLE_OK(_QVMtableGrammarGetParent(child, &parent));
  EXPECT_EQ(parent, grammar);
  EXPECT_EQ(QVMoutcome(_QVMtableGrammarSetIsNode(grammar, 1)).text,
            "Failed precondition: CountOfSubGrammar == 0");
  // Without a message there is no configuration to keep a map set in.
  unsigned mapSet = 0;
  EXPECT_TRUE(QVMoutcome(_QVMtableGrammarGetMapSetIndex(grammar, &mapSet)).failed);

  // A second standalone grammar placed below the first belongs to the tree from then on.
  void* moved = nullptr;
  EXPECT_HANDLE_OK(_QVMtableGrammarCreate(&moved));
  EXPECT_HANDLE_OK(_QVMtableGrammarSetSubGrammar(grammar, 0, moved));
  EXPECT_EQ(QVMoutcome(_QVMtableGrammarSetSubGrammar(moved, 0, grammar)).failed, true);
  EXPECT_HANDLE_OK(_QVMtableGrammarRelease(moved));  // no longer counted: nothing happens
  EXPECT_HANDLE_OK(_QVMtableGrammarGetParent(moved, &parent));
  EXPECT_EQ(parent, grammar);

  EXPECT_HANDLE_OK(_QVMreferenceAddRef(grammar));
  EXPECT_HANDLE_OK(_QVMtableGrammarRelease(grammar));
  EXPECT_HANDLE_OK(_QVMtableGrammarGetCountOfSubGrammar(grammar, &count));  // one reference left
  EXPECT_HANDLE_OK(_QVMreferenceRelease(grammar));                           // frees the whole tree
}
