# The RPC library and the terminals on it.
