// The library as it is shipped, over a kernel that umockdev plays: its devices are entries below a false
// /sys, its nodes are pseudo-terminals whose other ends are read and written here.
#include <linux/hidraw.h>
#include <sys/ioctl.h>
#include <umockdev.h>
#include <unistd.h>

#include <cerrno>

#include "HidLib.h"

namespace {

using namespace std::string_literals;

const std::string vendorDescriptor =
    "\x06\x00\xFF\x09\x01\xA1\x01\x15\x00\x26\xFF\x00\x75\x08\x95\x07\x85\x01\x81\x02"
    "\x91\x02\x85\x02\x81\x02\xB1\x02\xC0"s;
const std::string keyboardDescriptor = "\x05\x01\x09\x06\xA1\x01\x75\x08\x95\x08\x81\x02\xC0"s;

struct HidKernel : testing::Test {
    ~HidKernel() override { g_object_unref(m_bed); }

    // A device entry: its path below /sys, its subsystem, then further lines of umockdev's format.
    void Entry(const std::string& path, const std::string& subsystem, const std::string& more) {
        const std::string text = "P: " + path + "\nE: SUBSYSTEM=" + subsystem + "\n" + more + "\n";
        GError* error = nullptr;
        EXPECT_TRUE(umockdev_testbed_add_from_string(m_bed, text.c_str(), &error)) << error->message << "\n"
                                                                                   << text;
    }
    void Attribute(const std::string& path, const char* name, std::string bytes) {
        umockdev_testbed_set_attribute_binary(m_bed, ("/sys" + path).c_str(), name,
                                              reinterpret_cast<guint8*>(bytes.data()),
                                              static_cast<gint>(bytes.size()));
    }
    // A HID device below `parent`, with its node.
    void Hid(const std::string& parent, int node, const std::string& descriptor) {
        const std::string number = std::to_string(node);
        const std::string hid = parent + "/0003:2E91:0005.000" + number;
        Entry(hid, "hid",
              "E: HID_ID=0003:00002E91:00000005\nE: HID_NAME=Made here " + number + "\nE: HID_UNIQ=U" +
                  number + "\n");
        Attribute(hid, "report_descriptor", descriptor);
        Entry(hid + "/hidraw/hidraw" + number, "hidraw",
              "N: hidraw" + number + "\nE: DEVNAME=/dev/hidraw" + number +
                  "\nE: MAJOR=247\nE: MINOR=" + number + "\n");
        UMockdevIoctlBase* const ioctls = umockdev_ioctl_base_new();
        g_signal_connect(ioctls, "handle-ioctl", G_CALLBACK(&HidKernel::Ioctl), nullptr);
        EXPECT_TRUE(umockdev_testbed_attach_ioctl(m_bed, ("/dev/hidraw" + number).c_str(), ioctls, nullptr));
        g_object_unref(ioctls);
    }

    // Answers the calls that need more than a terminal; on umockdev's own thread.
    static gboolean Ioctl(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer) {
        const auto request = static_cast<std::uint32_t>(umockdev_ioctl_client_get_request(client));
        const auto give = [&](const void* bytes, std::size_t offset, std::size_t size, int result) {
            UMockdevIoctlData* const data = umockdev_ioctl_data_resolve(umockdev_ioctl_client_get_arg(client),
                                                                        0, _IOC_SIZE(request), nullptr);
            umockdev_ioctl_data_update(data, offset, static_cast<guint8*>(const_cast<void*>(bytes)),
                                       static_cast<gint>(size));
            umockdev_ioctl_client_complete(client, result, 0);
            umockdev_ioctl_data_unref(data);
            return TRUE;
        };
        const auto size = static_cast<std::uint32_t>(vendorDescriptor.size());
        if (request == HIDIOCGRDESCSIZE) return give(&size, 0, sizeof size, 0);
        if (request == HIDIOCGRDESC) return give(vendorDescriptor.data(), 4, size, 0);
        // The kernel looks at the length alone, and takes none above what the device's driver does.
        const bool feature =
            (request & ~(std::uint32_t{_IOC_SIZEMASK} << _IOC_SIZESHIFT)) == HIDIOCGFEATURE(0);
        if (feature && _IOC_SIZE(request) <= 4096) return give("\x02\x02ok", 0, 4, 8);
        if (request == HIDIOCGINPUT(8)) {
            umockdev_ioctl_client_complete(client, -1, ENODEV);
            return TRUE;
        }
        return FALSE;
    }

    int Node() { return umockdev_testbed_get_dev_fd(m_bed, "/dev/hidraw0"); }
    void ToNode(const std::string& bytes) {
        EXPECT_EQ(write(Node(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    UMockdevTestbed* m_bed = umockdev_testbed_new();
};

TEST_F(HidKernel, ADeviceWithoutUsbParentIsListedOpenedAndTalkedTo) {
    Hid("/devices/virtual/misc/uhid", 0, vendorDescriptor);
    HidHandle hid;
    ASSERT_EQ(orvhidNumberOfDevice(hid.Id), 1);
    EXPECT_EQ(hid.Name(), R"(\\?\hid#vid_2e91&pid_0005#hidraw0)");
    EXPECT_EQ(hid.Text(orvhidEnumDevice, 0), "/dev/hidraw0 Made here 0");
    EXPECT_EQ(hid.Text(orvhidGetDeviceManufacturer, "HID1"), "");
    EXPECT_EQ(hid.Text(orvhidGetDeviceSerialNumber, "HID1"), "U0");
    EXPECT_EQ(orvhidGetDeviceAccess(hid.Id, "HID1"), 0);
    ASSERT_TRUE(hid.Open(hid.Name()));

    EXPECT_TRUE(hid.Write("\x02V\r"));
    EXPECT_TRUE(hid.UntilEvent(2));
    std::string taken(8, '\0');
    EXPECT_EQ(read(Node(), taken.data(), taken.size()), 8);
    EXPECT_EQ(taken, "\x01\x03\x02V\r\0\0\0"s);
    ToNode("\x01\x03"s + "abc\0\0\0"s);
    EXPECT_EQ(hid.Read(3), "abc");
    ToNode("\x02\x02"s + "de\0\0\0\0"s);
    EXPECT_EQ(hid.ReadCtrl(2), "de");
    std::uint8_t report[8]{2};
    EXPECT_EQ(orvhidGetFeature(hid.Id, report, 8), 8);
    EXPECT_EQ(std::string(report, report + 4), "\x02\x02ok");
    for (const std::int32_t room : {8, 4096, 4097, 16382, 16383, 16384, 100'000}) {
        std::vector<std::uint8_t> large(static_cast<std::size_t>(room), 2);
        EXPECT_EQ(orvhidGetFeature(hid.Id, large.data(), room), 8) << room;
    }
    EXPECT_EQ(orvhidSetFeature(hid.Id, report, 8), 0) << "the device refuses it";
    EXPECT_EQ(orvhidIsOpen(hid.Id), 1);
    EXPECT_EQ(orvhidGetInputReport(hid.Id, report, 8), 0) << "the device has gone";
    EXPECT_TRUE(hid.UntilEvent(18));
    EXPECT_EQ(orvhidIsOpen(hid.Id), 0);
}

TEST_F(HidKernel, ANodeIsLockedWhileItIsOpen) {
    Hid("/devices/virtual/misc/uhid", 0, vendorDescriptor);
    HidHandle one;
    ASSERT_TRUE(one.Open("HID1"));
    HidHandle other;
    for (int turn = 0; turn < 200; ++turn) {
        EXPECT_FALSE(other.Open("HID1"));
        EXPECT_EQ(orvhidGetOpenError(other.Id), EBUSY);
        ToNode("\x01\x01"s + "a\0\0\0\0\0"s);  // so that the worker is at it
        EXPECT_EQ(orvhidClose(one.Id), 1);
        EXPECT_TRUE(one.Open("HID1")) << turn;
    }
    orvhidClose(one.Id);
    EXPECT_TRUE(other.Open("HID1"));
}

TEST_F(HidKernel, ReadersAreCountedByTheNumbersOfTheirNodes) {
    for (const int number : {10, 9, 2}) Hid("/devices/virtual/misc/uhid", number, vendorDescriptor);
    HidHandle hid;
    std::string files;
    for (const char* name : {"HID1", "HID2", "HID3"}) files += hid.Text(orvhidGetDeviceFile, name) + " ";
    EXPECT_EQ(files, "/dev/hidraw2 /dev/hidraw9 /dev/hidraw10 ");
}

TEST_F(HidKernel, OfAUsbDeviceTheStringsAreReadAndTheKeyboardIsLeftOut) {
    const std::string usb = "/devices/pci0000:00/usb1/1-2";
    Entry(usb, "usb",
          "E: DEVTYPE=usb_device\nA: bNumInterfaces= 3\nA: manufacturer=Fa\303\247ade\n"
          "A: product=T\xE2\x82\xACrka\n");
    Attribute(usb, "serial", "\xFF\x01x");  // is no UTF-8
    for (const int number : {0, 1, 2}) {    // a boot keyboard, a reader, another keyboard
        const std::string path = usb + "/1-2:1." + std::to_string(number);
        Entry(path, "usb",
              "E: DEVTYPE=usb_interface\nA: bInterfaceNumber=0" + std::to_string(number) +
                  "\nA: bInterfaceProtocol=" + (number == 0 ? "01" : "00") + "\n");
        Hid(path, number, number == 2 ? keyboardDescriptor : vendorDescriptor);
    }
    HidHandle hid;
    ASSERT_EQ(orvhidNumberOfDevice(hid.Id), 1);
    EXPECT_EQ(hid.Name(), R"(\\?\hid#vid_2e91&pid_0005#1-2:1.1)");
    EXPECT_EQ(hid.Text(orvhidGetDeviceFile, "HID1"), "/dev/hidraw1");
    EXPECT_EQ(hid.Text(orvhidGetDeviceManufacturer, "HID1"), "Fa\347ade");
    EXPECT_EQ(hid.Text(orvhidGetDeviceProduct, "HID1"), "T?rka");
    EXPECT_EQ(hid.Text(orvhidGetDeviceSerialNumber, "HID1"), "\xFF\x01x");
}

}  // namespace
