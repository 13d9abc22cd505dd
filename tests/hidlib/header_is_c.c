/* Compiles only while the contract is plain C. */
#include "hidlib/orvhidio.h"
