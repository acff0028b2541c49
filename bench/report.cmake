zuk_bench(bench_report zuk_report zuk_demodata)
