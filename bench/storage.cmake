# The server's database.
zuk_bench(bench_storage zuk_storage)
