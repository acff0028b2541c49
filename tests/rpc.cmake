# The RPC library.
