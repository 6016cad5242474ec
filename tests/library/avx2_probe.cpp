// One AVX2 instruction, whatever CPUID reports.
int main() { __asm__("vpaddb %%ymm0, %%ymm0, %%ymm0" ::: "xmm0"); }
