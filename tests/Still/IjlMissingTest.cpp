// Without "IJL15.DLL" anywhere the loader looks, the wrapper stays empty.
#include <gtest/gtest.h>

#include "DibImage.h"
#include "IjlObj.h"

TEST(IjlObjMissing, GetIjlObjIsNullAndNeverRetried)
{
    EXPECT_EQ(GetIjlObj(), nullptr);
    EXPECT_EQ(GetIjlObj(), nullptr);
}

TEST(IjlObjMissing, AnEmptyWrapperDoesNothing)
{
    CIjlObj ijl;
    EXPECT_TRUE(ijl.IsEmpty());
    EXPECT_EQ(ijl.Init(), nullptr);
    DibImage dib;
    ASSERT_EQ(dib.Create(8, 8, 24), 1);
    EXPECT_EQ(ijl.Save(dib, "/tmp/never-written.jpg", 0), 0);
    unsigned char jpeg[4] = {0xFF, 0xD8, 0xFF, 0xD9};
    EXPECT_EQ(ijl.ProcessBuffer(jpeg, sizeof(jpeg), dib), 0);
}
