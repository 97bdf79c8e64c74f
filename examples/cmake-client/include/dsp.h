/* A few fixed-point signal-processing helpers. */
#ifndef DSP_H
#define DSP_H

/* The taps of an 8-point smoothing window, in Q8. */
extern const short dsp_window[8];

/* One output of an FIR filter: the sum of taps[i] * samples[i], in Q8. */
int fir_step(const short *taps, const short *samples, int count);

/* a + b, held to the range of a 16-bit sample. */
int mix_saturate(int a, int b);

#endif
