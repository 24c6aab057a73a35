#include <gtest/gtest.h>
#include <mesk/bridge/Signature.h>

namespace mesk::test {
namespace {

TEST(SignatureTest, AStoreMethodHasTheContextFirstAndTheExceptionObjectLast) {
  EXPECT_STREQ((storeSignature<"", "V">),
               "(Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)V");
  EXPECT_STREQ((storeSignature<"JI", kCollectionType>),
               "(Lcom/orvik/kelvo/common/parl/api/Context;JILcom/orvik/kelvo/common/parl/api/PARLException;)"
               "Ljava/util/Collection;");
}

TEST(SignatureTest, AStoreClassHasANameAndAType) {
  EXPECT_STREQ((metadataClass<"MDTask">), "com/orvik/kelvo/mesk/metadata/MDTask");
  EXPECT_STREQ((metadataType<"MDTask">), "Lcom/orvik/kelvo/mesk/metadata/MDTask;");
}

TEST(SignatureTest, PartsAreJoinedWithNothingBetween) {
  EXPECT_STREQ((joined<"(", kStringType, "J", ")V">), "(Ljava/lang/String;J)V");
  EXPECT_STREQ((joined<"">), "");
}

}  // namespace
}  // namespace mesk::test
