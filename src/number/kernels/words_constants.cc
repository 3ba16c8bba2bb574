#include "number/kernels/words_number.h"

namespace kestra::number::words {

constinit const Constants kConstants = {};

}  // namespace kestra::number::words
