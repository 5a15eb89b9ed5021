#include <gtest/gtest.h>

#include "support/selfstart.h"

int main(int argc, char** argv) {
    int status = runRole(argc, argv);
    if (status >= 0) return status;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
