def helper(value):
    return str(value)


def register(name):
    def wrap(function):
        return function

    return wrap


class Base:
    def __init__(self, name):
        self.name = name
        self.setup()

    def setup(self):
        pass

    def save(self):
        self.validate()
        return helper(self.name)

    def validate(self):
        return True


class Plain:
    def run(self):
        return len([])


class Child(Plain):
    pass
