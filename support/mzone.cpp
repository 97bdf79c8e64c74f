#include "support/mzone.h"
