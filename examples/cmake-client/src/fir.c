#include "dsp.h"

int fir_step(const short *taps, const short *samples, int count)
{
    int sum = 0;
    for (int i = 0; i < count; i++)
        sum += taps[i] * samples[i];
    return sum >> 8;
}
