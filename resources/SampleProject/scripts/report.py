import sys

from payments.cards import chargeCard


def main(argv):
    for amount in argv[1:]:
        print(chargeCard(float(amount)))


if __name__ == "__main__":
    main(sys.argv)
