# Terminal sessions and what terminals push.
