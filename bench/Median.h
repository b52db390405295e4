// The median of a run's measurements, for the benchmarks that time repeated
// runs themselves.
#ifndef OM_BENCH_MEDIAN_H_
#define OM_BENCH_MEDIAN_H_

#include <algorithm>
#include <vector>

namespace om {

// The middle value (the mean of the middle two for an even count); 0 for none.
inline double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const size_t n = values.size();
  return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

}  // namespace om

#endif  // OM_BENCH_MEDIAN_H_
