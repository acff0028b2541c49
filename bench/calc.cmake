zuk_bench(bench_calc zuk_web zuk_workers zuk_demodata)
