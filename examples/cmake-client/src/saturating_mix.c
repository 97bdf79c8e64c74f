#include "dsp.h"

int mix_saturate(int a, int b)
{
    int sum = a + b;
    if (sum > 32767)
        return 32767;
    if (sum < -32768)
        return -32768;
    return sum;
}
