#include "dsp.h"

const short dsp_window[8] = { 8, 24, 40, 56, 56, 40, 24, 8 };
