"""An operator's journeys on the running panel: what is pressed on the screen ends in the device."""

import sys
import unittest

from panel_under_test import Panel
from vnc_operator import wait_for

BUILD = sys.argv.pop(1)


def brightness_field(operator):
    return operator.find(name="brightnessLineEdit")["text"]


class Journey(unittest.TestCase):
    def setUp(self):
        self.panel = Panel(BUILD)
        self.addCleanup(self.panel.clean)

    def open_settings(self, operator):
        operator.press_widget(name="open")
        operator.find(name="generalSettingsListWidget")

    def enter_brightness(self, operator, digits):
        operator.press_widget(name="brightnessLineEdit")
        for digit in digits:
            operator.press_widget(name=f"pushButton{digit}")
        operator.press_widget(name="pushButtonEnter")

    def test_brightness_typed_on_the_keypad_outlives_a_restart(self):
        operator = self.panel.start()
        self.assertEqual(self.panel.backlight(), 140)
        self.open_settings(operator)
        self.enter_brightness(operator, "5")
        wait_for(lambda: self.panel.brightness() == 92, "the level in the image")
        self.assertEqual(self.panel.backlight(), 92)
        wait_for(lambda: brightness_field(operator) == "05", "the level on the page")

        # The Restart button: the panel comes up again, with the level.
        operator.press_widget(name="restartPushButton")
        operator.close()
        operator = self.wait_for_restart()
        self.assertEqual(self.panel.backlight(), 92)
        self.open_settings(operator)
        self.assertEqual(brightness_field(operator), "05")
        operator.close()

        # And after it was switched off.
        self.assertIn("The panel restarts.", self.panel.stop())
        self.assertEqual(self.panel.remains(), [])
        operator = self.panel.start()
        self.open_settings(operator)
        self.assertEqual(brightness_field(operator), "05")
        operator.close()

    def wait_for_restart(self):
        def home_page_again():
            try:
                operator = self.panel.look()
            except (ConnectionError, OSError, AssertionError):
                return False
            names = [widget["name"] for widget in operator.widgets()]
            self.fresh = operator
            return "generalSettingsListWidget" not in names

        wait_for(home_page_again, "the panel to come up again")
        return self.fresh

    def test_close_button_leads_back_to_the_home_page(self):
        operator = self.panel.start()
        self.open_settings(operator)
        operator.press_widget(style="close.png")
        wait_for(lambda: not any(widget["name"] == "generalSettingsListWidget"
                                 for widget in operator.widgets()), "the dialog to go")
        self.open_settings(operator)
        operator.close()
        output = self.panel.stop()
        self.assertIn("notice: register 20\n", output)  # the language, at the start
        self.assertIn("notice: register 86\n", output)

    def test_screen_dims_with_the_backlight_and_shows_beeps(self):
        operator = self.panel.start("--size", "800x480")
        self.assertEqual((operator.width, operator.height), (800, 480))
        self.open_settings(operator)
        self.enter_brightness(operator, "32")
        wait_for(lambda: self.panel.backlight() == 200, "full light")
        title_bar = (96, 157, 191)
        wait_for(lambda: operator.pixel(400, 8) == title_bar, "the title bar in its own colour")

        # The key click is on: a press shows the note in the corner for a moment.
        operator.press_widget(name="generalPushButton")
        wait_for(lambda: operator.pixel(50, 8) != title_bar, "the beep to be seen")
        wait_for(lambda: operator.pixel(50, 8) == title_bar, "the note to go")

        self.enter_brightness(operator, "1")
        wait_for(lambda: self.panel.backlight() == 76, "the lowest level")
        wait_for(lambda: sum(operator.pixel(400, 8)) < sum(title_bar) / 2, "a darker screen")
        operator.close()


if __name__ == "__main__":
    unittest.main(verbosity=2)
