from .gateway import Gateway
from .audit import log_event


def validate_card(number):
    if len(number) < 12:
        raise ValueError("card number too short")


def chargeCard(amount, number="4242424242424242"):
    validate_card(number)
    log_event("charge", amount)
    return Gateway("https://payments.invalid").charge(amount)
