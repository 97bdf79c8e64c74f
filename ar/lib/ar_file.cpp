#include "ar/lib/ar_file.h"
