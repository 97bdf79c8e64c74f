/* Fixed-point gain with a default that a board file may override. */

const short gain_table[4] = { 1, 2, 4, 8 };
int gain_shift = 3;

__attribute__((weak)) int gain_default(void)
{
    return 1;
}

int gain_apply(int value, int index)
{
    return (value * gain_table[index & 3] * gain_default()) >> gain_shift;
}
