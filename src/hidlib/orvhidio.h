#ifndef ORVHIDIO_H
#define ORVHIDIO_H
/* clang-format off: the columns mean something. */
/* The contract of libOrvHIDIO.so: one USB HID device per handle, shaped like a serial port. Plain C.
 *
 * Handles  are small numbers, never pointers, and 0 is none. An unknown or destroyed one is ignored: the call
 *          does nothing and returns 0, -1 or an empty text as its entry says.
 * Results  are numbers; where nothing else is said 1 is done and 0 is not. A null pointer, a negative count
 *          or a number out of its range is "not done" and changes nothing. No call ends with an exception.
 * Texts    are given back like snprintf does: up to size-1 bytes and a 0 byte are stored when size is
 *          positive, and the whole text's length is returned, so that text NULL with size 0 asks for the
 *          length. They are bytes, one per character, ISO 8859-1; what does not fit in that is a question
 *          mark.
 * Threads  every call may come from any thread, except that call-backs are delivered by orvhidDispatch alone
 *          and only on the thread that called orvhidCreate. The library's worker never calls the program. One
 *          handle's queues are meant for one reader and one writer.
 * Waiting  no call waits for a device, except the raw report calls and writes with AsyncIO off (up to the
 *          request time-out), and orvhidDestroy as its entry says. Opening takes as long as the kernel's
 *          open.
 * Names    `\\?\hid#vid_VVVV&pid_PPPP#INSTANCE`, INSTANCE without blank, "(" or "[". It stays the same while
 *          the device is plugged in; for a USB device it is the place it is plugged into, otherwise its
 *          device node.
 * Events   are codes of HidEvent. Of those of the channels and HidEventCTS at most one of each waits at a
 * time, of the others 64 per handle; later ones are dropped, orvhidCheckDevicesIsChanged still tells. Devices
 *          present at orvhidCreate are not announced.
 */
/* clang-format on */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The USB ids of the readers that are known from the start. */
enum HidReaderId { HidReaderVendor = 0x2E91, HidReaderProduct = 0x0005 };

/* What the call-back is told, of the data channel, then of the control channel in the same order. */
enum HidEvent {
    HidEventData = 0,     /* bytes have arrived */
    HidEventOverflow = 1, /* bytes were dropped, the read queue is full */
    HidEventSent = 2,     /* the write queue has run empty */
    HidEventOutputFull =
        3, /* bytes were not taken: the write queue is full, or the device refused a report */
    HidEventControlData = 4,
    HidEventControlLast = 7,
    HidEventDeviceFirst = 8, /* of changes to come; this library has neither */
    HidEventDeviceSecond = 9,
    HidEventArrival = 16, /* a device has arrived; orvhidGetParamString has its name, as of the next two */
    HidEventRemoval = 17, /* a device that was not open has gone */
    HidEventRemovalOfOpen = 18, /* the open device has gone, and was closed */
    HidEventCTS = 35            /* orvhidGetCTSHolding has changed */
};

typedef uint32_t orvhid_handle;
/* user is the number given at registration. The result is not looked at. Must not throw. */
typedef uint32_t (*orvhid_callback)(orvhid_handle handle, uint32_t user, uint32_t event, uint32_t param);

#define ORVHID_EXPORT(kind, result, name, parameters) \
    __attribute__((visibility("default"))) result name parameters;
#include "hidlib/orvhid_exports.def"
#undef ORVHID_EXPORT

#ifdef __cplusplus
}
#endif
#endif
