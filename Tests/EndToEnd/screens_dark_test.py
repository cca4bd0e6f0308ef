"""The same screens in the dark."""
from picture_case import Dark, main
from screens_test import Screens as LightScreens


class Screens(Dark, LightScreens):
    pass


del LightScreens  # it is tested by its own file

if __name__ == '__main__':
    main()
