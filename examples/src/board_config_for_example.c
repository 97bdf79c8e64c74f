/* Board settings; its long file name exercises the long-name table. */

extern int gain_shift;

int gain_default(void)
{
    return 2;
}

void board_init(void)
{
    gain_shift = 2;
}
