/* Filters one block of samples with the library and keeps the result. */
#include "dsp.h"

volatile int dsp_result;

void _start(void)
{
    static const short samples[8] = { 100, 200, 300, 400, 400, 300, 200, 100 };
    dsp_result = mix_saturate(fir_step(dsp_window, samples, 8), 32000);
    for (;;)
        ;
}
