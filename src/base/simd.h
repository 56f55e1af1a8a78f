#pragma once
// Whether the SSE2 forms of the few vectorised routines are compiled. Every
// such routine has a portable scalar form that gives the same bits; defining
// VTL_PORTABLE_SCALAR (CMake option of the same name) compiles the scalar
// forms on x86-64 too, so that the code other targets build is tested here.

#if defined(__SSE2__) && !defined(VTL_PORTABLE_SCALAR)
#define VTL_SIMD_SSE2 1
#else
#define VTL_SIMD_SSE2 0
#endif
