#include <cerrno>
#include <set>

#include "HidLib.h"

extern "C" int orvhid_header_is_plain_c(void);

namespace {

// Calls any export with nothing in every argument but the first.
template <class Result, class... Rest>
std::int64_t CallWith(orvhid_handle handle, Result (*function)(orvhid_handle, Rest...)) {
    return static_cast<std::int64_t>(function(handle, Rest{}...));
}
std::int64_t CallWith(orvhid_handle, orvhid_handle (*)()) { return 0; }

class Libraries : public testing::TestWithParam<const char*> {
  protected:
    LoadedLibrary m_library{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(RealAndVirtual, Libraries, testing::Values(ORVHID_REAL, ORVHID_VIRTUAL),
                         [](const auto& param) { return param.index == 0 ? "Real" : "Virtual"; });

TEST_P(Libraries, ExportEverythingThatIsListed) {
    EXPECT_TRUE(m_library.Complete);
    std::set<std::string> declared;
    int own = 0;
#define REQUIRED 0
#define OPTIONAL 0
#define OWN 1
#define ORVHID_EXPORT(kind, result, name, parameters) \
    EXPECT_NE(m_library.name, nullptr) << #name;      \
    declared.insert(#name);                           \
    own += (kind);
#include "hidlib/orvhid_exports.def"
#undef ORVHID_EXPORT
    EXPECT_EQ(declared.size(), 63U + static_cast<unsigned>(own));
    EXPECT_EQ(orvhid_header_is_plain_c(), own);
}

TEST_P(Libraries, AnUnknownHandleAndEmptyArgumentsDoNothing) {
    const orvhid_handle known = m_library.orvhidCreate();
    ASSERT_NE(known, 0U);
    const std::map<std::string, std::int64_t> others{{"orvhidGetEventDescriptor", -1},
                                                     {"orvhidGetDeviceAccess", ENOENT}};
    for (const orvhid_handle unknown : {orvhid_handle{0}, known + 1, ~orvhid_handle{0}}) {
#define ORVHID_EXPORT(kind, result, name, parameters) \
    EXPECT_EQ(CallWith(unknown, m_library.name), others.count(#name) ? others.at(#name) : 0) << #name;
#include "hidlib/orvhid_exports.def"
#undef ORVHID_EXPORT
    }
#define ORVHID_EXPORT(kind, result, name, parameters) \
    if (std::string_view(#name) != "orvhidDestroy") CallWith(known, m_library.name);
#include "hidlib/orvhid_exports.def"
#undef ORVHID_EXPORT
    EXPECT_EQ(m_library.orvhidGetReadBufferSize(known), 2048);
    EXPECT_EQ(m_library.orvhidGetRequestTimeout(known), 1000);
    EXPECT_EQ(m_library.orvhidIsOpen(known), 0);
    EXPECT_EQ(m_library.orvhidDestroy(known), 1);
    EXPECT_EQ(m_library.orvhidDestroy(known), 0);
}

}  // namespace
