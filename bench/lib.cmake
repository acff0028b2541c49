# Values and JSON.
zuk_bench(bench_json zuk_values)
