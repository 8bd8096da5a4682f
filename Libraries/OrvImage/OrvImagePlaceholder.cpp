// Filled by the image-routine implementation.
