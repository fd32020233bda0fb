// The error and reference families, and the guard that keeps exceptions inside the library.
#include <stdexcept>
#include <unistd.h>

#include "QVMhandleSupport.h"
#include "QVMhandleTestSupport.h"

TEST(QVMhandleError, CreatedErrorCarriesTextAndResourceCode) {
  void* error = nullptr;
  EXPECT_HANDLE_OK(_QVMerrorCreate(&error, "disk on fire"));
  ASSERT_NE(error, nullptr);
  unsigned count = 7;
  EXPECT_HANDLE_OK(_QVMerrorGetCountOfParameter(error, &count));
  EXPECT_EQ(count, 0u);
  const auto outcome = QVMoutcome(error);
  EXPECT_EQ(outcome.code, 0x80000500u);
  EXPECT_EQ(outcome.text, "disk on fire");
}

TEST(QVMhandleError, ParametersOfTheEngineErrorReachTheHost) {
  COLerror thrown("Segment PID is not defined.", COL_ERROR_SEGMENT_NOT_DEFINED);
  thrown.setParameter("Segment", "PID");
  thrown.setParameter("PlainError", "short text");
  void* error = QVMhandleMakeError(thrown);

  int has = 0;
  EXPECT_HANDLE_OK(_QVMerrorHasParameter(error, "Segment", &has));
  EXPECT_EQ(has, 1);
  EXPECT_HANDLE_OK(_QVMerrorHasParameter(error, "Field", &has));
  EXPECT_EQ(has, 0);
  const char* value = nullptr;
  EXPECT_HANDLE_OK(_QVMerrorGetParameter(error, "Segment", &value));
  EXPECT_STREQ(value, "PID");
  unsigned count = 0;
  EXPECT_HANDLE_OK(_QVMerrorGetCountOfParameter(error, &count));
  EXPECT_EQ(count, 2u);
  const char* key = nullptr;
  EXPECT_HANDLE_OK(_QVMerrorGetKey(error, 0, &key));
  EXPECT_STREQ(key, "PlainError");  // kept in key order

  // Asking for a missing parameter is an error and does not add the key.
  const auto missing = QVMoutcome(_QVMerrorGetParameter(error, "Field", &value));
  EXPECT_TRUE(missing.failed);
  EXPECT_EQ(missing.text, "The error has no parameter 'Field'.");
  EXPECT_TRUE(QVMoutcome(_QVMerrorGetKey(error, 2, &key)).failed);
  EXPECT_HANDLE_OK(_QVMerrorGetCountOfParameter(error, &count));
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(QVMoutcome(error).code, COL_ERROR_SEGMENT_NOT_DEFINED);
}

TEST(QVMhandleError, BadHandlesAreErrorsNotCrashes) {
  const char* text = nullptr;
  void* allBits = reinterpret_cast<void*>(-1);
  const auto minusOne = QVMoutcome(_QVMerrorGetDescription(allBits, &text));
  EXPECT_EQ(minusOne.code, 0x80000100u);
  EXPECT_EQ(minusOne.text, "Failed precondition: Handle != (void*)(-1)");
  EXPECT_EQ(QVMoutcome(_QVMerrorRelease(allBits)).text, "Failed precondition: Handle != (void*)(-1)");
  EXPECT_EQ(QVMoutcome(_QVMerrorGetDescription(nullptr, &text)).text, "Failed precondition: Handle != NULL");
  EXPECT_EQ(_QVMerrorRelease(nullptr), nullptr);

  // A handle of another family is refused by its type.
  void* engine = nullptr;
  EXPECT_HANDLE_OK(_QVMengineCreate(&engine));
  unsigned code = 0;
  EXPECT_EQ(QVMoutcome(_QVMerrorGetCode(engine, &code)).text, "The handle given is not an error handle.");
  void* error = nullptr;
  EXPECT_HANDLE_OK(_QVMerrorCreate(&error, "x"));
  unsigned count = 0;
  EXPECT_EQ(QVMoutcome(_QVMengineCountOfMessage(error, &count)).text, "The handle given is not an engine handle.");
  // Missing out-parameters too.
  EXPECT_EQ(QVMoutcome(_QVMengineCountOfMessage(engine, nullptr)).text, "Failed precondition: out != NULL");
  QVMoutcome(error);
  EXPECT_HANDLE_OK(_QVMengineRelease(engine));
}

TEST(QVMhandleError, EveryKindOfExceptionBecomesAnErrorHandle) {
  auto run = [](auto body) { return QVMoutcome(QVMhandleGuard(body)); };
  EXPECT_FALSE(run([] {}).failed);
  const auto standard = run([] { throw std::runtime_error("vector too long"); });
  EXPECT_EQ(standard.code, 0x80000100u);
  EXPECT_EQ(standard.text, "vector too long");
  const auto memory = run([] { throw std::bad_alloc(); });
  EXPECT_EQ(memory.code, 0x80000500u);
  EXPECT_EQ(memory.text, "Out of memory.");
  const auto unknown = run([] { throw 42; });
  EXPECT_EQ(unknown.code, 0x80000100u);
  EXPECT_EQ(unknown.text, "An unknown failure occurred inside the engine.");
}

TEST(QVMhandleReference, CountsKeepObjectsAliveUntilTheLastRelease) {
  void* dateTime = nullptr;
  EXPECT_HANDLE_OK(_QVMdateTimeCreate(&dateTime));
  auto count = [&] { return static_cast<COLreference*>(dateTime)->countOfRef(); };
  EXPECT_EQ(count(), 1);
  EXPECT_HANDLE_OK(_QVMdateTimeAddRef(dateTime));
  EXPECT_HANDLE_OK(_QVMreferenceAddRef(dateTime));
  EXPECT_EQ(count(), 3);
  EXPECT_HANDLE_OK(_QVMreferenceRelease(dateTime));
  EXPECT_HANDLE_OK(_QVMdateTimeRelease(dateTime));
  EXPECT_EQ(count(), 1);
  EXPECT_HANDLE_OK(_QVMdateTimeSetNow(dateTime));  // still alive
  EXPECT_HANDLE_OK(_QVMdateTimeRelease(dateTime));  // freed here; the leak checker sees the rest

  for (auto addRef : {_QVMengineAddRef, _QVMdateTimeAddRef, _QVMdllAddRef, _QVMtableAddRef, _QVMreferenceAddRef,
                      _QVMtableGrammarAddRef})
    EXPECT_EQ(addRef(nullptr), nullptr);
  for (auto release : {_QVMengineRelease, _QVMdateTimeRelease, _QVMdllRelease, _QVMtableRelease,
                       _QVMreferenceRelease, _QVMtableGrammarRelease, _QVMerrorRelease})
    EXPECT_EQ(release(nullptr), nullptr);
}
