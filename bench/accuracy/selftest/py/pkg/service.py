from . import models
from .models import Child, Plain
from .user import User, make_user


class Service:
    def __init__(self):
        self.user = make_user()

    # The decorator's call runs in the class body: the class is its caller.
    @models.register("run")
    def run(self, callback):
        callback()  # a parameter: no one callee
        models.helper(2)
        Plain()  # no __init__ anywhere: the class stands in
        Child()
        self.user.save()
        return Service.build()

    @staticmethod
    def build():
        def inner():
            return Service()

        return inner()


@models.register("main")
def main():
    svc = Service()
    svc.run(print)
    User("y").validate()


main()
