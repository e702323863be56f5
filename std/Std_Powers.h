// 10^n, for as many decimals as fit 64 bits; all exact in double precision. Internal.
#ifndef STD_STD_POWERS_H
#define STD_STD_POWERS_H

inline constexpr double std_power_of_ten[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,
                                              1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13,
                                              1e14, 1e15, 1e16, 1e17, 1e18, 1e19};

#endif
