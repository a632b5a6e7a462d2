"""Card payments for the shop."""
