#include "ar/ar_options.h"
