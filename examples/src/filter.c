/* A moving-average filter over a fixed window. */

#define WINDOW 8

int filter_history[WINDOW];   /* tentative definition: a common symbol */
static int filter_next;

int filter_step(int sample)
{
    int sum = 0;
    filter_history[filter_next] = sample;
    filter_next = (filter_next + 1) % WINDOW;
    for (int i = 0; i < WINDOW; i++)
        sum += filter_history[i];
    return sum / WINDOW;
}

void filter_reset(void)
{
    for (int i = 0; i < WINDOW; i++)
        filter_history[i] = 0;
    filter_next = 0;
}
