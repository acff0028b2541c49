zuk_bench(bench_calc zuk_web zuk_demodata)
