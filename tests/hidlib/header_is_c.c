/* Compiles only while the contract is plain C. Returns how many of the exports are additions. */
#include "hidlib/orvhidio.h"

#define REQUIRED 0
#define OPTIONAL 0
#define OWN 1
int orvhid_header_is_plain_c(void) {
    int own = 0;
#define ORVHID_EXPORT(kind, result, name, parameters) own += (kind);
#include "hidlib/orvhid_exports.def"
    return own;
}
