// Host sources are added here.
