#include "PlatformFixture.h"
#include "qt/clsQtStore.h"

namespace {

TEST_F(clsPlatformTest, TheStoreKeepsTextsForAllProgramsOfTheUser) {
    clsQtStore store;
    const std::string odd = "a,b;\"c\" %\xE9\n@x";
    store.SaveSetting("Zarn*", "LastCommPort", odd);
    clsQtStore other;
    EXPECT_EQ(other.GetSetting("Zarn*", "LastCommPort", ""), odd);
    other.SaveSetting("Ports", "Adapters", "5=x");
    EXPECT_EQ(store.GetSetting("Ports", "Adapters", ""), "5=x");
    EXPECT_EQ(store.GetSetting("zarn", "LastCommPort", "none"), "none");
}

}  // namespace
