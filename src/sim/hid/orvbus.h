#ifndef ORVBUS_H
#define ORVBUS_H
/* The simulated USB bus behind the library of the same name: what tests, the demo and its panel do to it.
 * Calls come from any thread and return when they are done. Results are 1 for done and 0 for not where
 * nothing else is said. Devices may be plugged in before the first handle is created. The environment
 * variable ORVBUS_DEVICES plugs in those that it lists, separated by semicolons, when the library is first
 * used.
 *
 * A device is a text of words separated by blanks, which say what it is (a reader behind an adapter when
 * neither is said); numbers are decimal, vid, pid and descriptor hexadecimal, and %HH stands for any byte but
 * 0 in texts:
 *   reader            a reader directly on HID
 *   tarka             a reader behind a USB adapter
 *   example           the reader holds the example configuration
 *   vid= pid=         the readers' own
 *   product= maker= serial=
 *   nousb             it has no USB parent: no maker
 *   spare             it is the keyboard among several interfaces
 *   ids=0             its reports have no ids, its control channel is feature reports
 *   in= out= feature= bytes of its reports without the id
 *   descriptor=       its report descriptor, whatever it is
 *   keyboard=1        a keyboard is attached to the adapter
 *   direction=N       the adapter's default direction
 * and what it does wrong:
 *   access=E          the system refuses to open it, with that error number
 *   shape=short|long  its input reports are not padded; are eight bytes longer than declared
 *   length=N          the length byte of its input reports, whatever they hold; -1 is right again
 *   slow=MS           it takes an output report only every so often
 *   interval=MS       it sends an input report only every so often
 *   flood=N           it sends data reports of N bytes without end; 0 stops
 *   vanish=N          it is pulled out inside the N-th call that the library makes to it
 *   refuse-reports=1  it takes no output or feature report
 *   nak=C nak4=C mute=C obey=C
 *                     the adapter refuses, does not know, does not answer, obeys command C, or "all"
 *   announce=N        the adapter's answers announce N bytes, whatever they hold; -1 is right again
 */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define ORVBUS_EXPORT(result, name, parameters) __attribute__((visibility("default"))) result name parameters;
#include "sim/hid/orvbus_exports.def"
#undef ORVBUS_EXPORT

#ifdef __cplusplus
}
#endif
#endif
