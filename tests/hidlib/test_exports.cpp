#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <string>

#include "hidlib/OrvHidTable.h"

namespace {

// Calls any export with nothing in every argument but the first.
template <class Result, class... Rest>
std::int64_t CallWith(orvhid_handle handle, Result (*function)(orvhid_handle, Rest...)) {
    return static_cast<std::int64_t>(function(handle, Rest{}...));
}
std::int64_t CallWith(orvhid_handle, orvhid_handle (*)()) { return 0; }

TEST(Libraries, BothExportEverythingAndDoNothingForAnUnknownHandleOrEmptyArguments) {
    for (const char* const file : {ORVHID_REAL, ORVHID_VIRTUAL}) {
        void* const loaded = dlopen(file, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(loaded, nullptr) << dlerror();
        OrvHidTable library;
        EXPECT_TRUE(library.Resolve([&](const char* name) { return dlsym(loaded, name); })) << file;
        const orvhid_handle known = library.orvhidCreate();
        const std::map<std::string, std::int64_t> others{{"orvhidGetEventDescriptor", -1},
                                                         {"orvhidGetDeviceAccess", ENOENT}};
        enum { REQUIRED, OPTIONAL, OWN };
        int required = 0;
#define ORVHID_EXPORT(kind, result, name, parameters)                                                    \
    ASSERT_NE(library.name, nullptr) << #name;                                                           \
    required += (kind) == OWN ? 0 : 1;                                                                   \
    for (const orvhid_handle unknown : {orvhid_handle{0}, known + 1, ~orvhid_handle{0}})                 \
        EXPECT_EQ(CallWith(unknown, library.name), others.count(#name) ? others.at(#name) : 0) << #name; \
    if (std::string(#name) != "orvhidDestroy") CallWith(known, library.name);
#include "hidlib/orvhid_exports.def"
#undef ORVHID_EXPORT
        EXPECT_EQ(required, 63);
        EXPECT_EQ(library.orvhidGetReadBufferSize(known), 2048);
        EXPECT_EQ(library.orvhidGetRequestTimeout(known), 1000);
        EXPECT_EQ(library.orvhidDestroy(known), 1);
        EXPECT_EQ(library.orvhidDestroy(known), 0);
    }
}

}  // namespace
