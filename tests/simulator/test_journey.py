"""An operator's journeys on the running panel: what is pressed on the screen ends in the device."""

import sys
import unittest

from panel_under_test import Panel
from patience import wait_for

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
        operator = self.panel.look_after_restart()
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

    def test_close_button_leads_back_to_the_home_page(self):
        operator = self.panel.start()
        self.open_settings(operator)
        operator.press_widget(style="close.png", window="Settings")
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

    def test_a_press_on_the_dark_screen_only_wakes_it(self):
        operator = self.panel.start()
        self.open_settings(operator)
        (self.panel.state / "state" / "backlight").write_text("0\n")
        wait_for(lambda: operator.pixel(512, 8) == (0, 0, 0), "the screen to be dark")
        operator.press_widget(name="networkPushButton")
        # The settings bring their level back, and the press went no further.
        wait_for(lambda: self.panel.backlight() == 140, "the light")
        wait_for(lambda: operator.pixel(512, 8) != (0, 0, 0), "the screen to be seen")
        operator.find(name="generalSettingsListWidget")
        self.assertEqual(self.panel.brightness(), 140)
        operator.close()

    def clock_fields(self, operator):
        names = ("year", "month", "date", "hour", "minute", "second")
        shown = {widget["name"]: widget["text"] for widget in operator.widgets()}
        return [int(shown[f"{name}LineEdit"]) for name in names]

    def press_keys(self, operator, digits):
        for digit in digits:
            operator.press_widget(name=f"pushButton{digit}")
        operator.press_widget(name="pushButtonEnter")

    def test_clock_set_in_the_dialog_is_the_clock_of_the_panel(self):
        operator = self.panel.start()
        self.open_settings(operator)
        operator.press_widget(style="setting_button.png")
        operator.find(name="yearLineEdit")
        for name, digits in (("year", "2031"), ("hour", "7"), ("minute", "41")):
            operator.press_widget(name=f"{name}LineEdit")
            self.press_keys(operator, digits)
        wait_for(lambda: self.clock_fields(operator)[0] == 2031, "the year in the dialog")
        before = self.clock_fields(operator)
        self.assertEqual((before[0], before[3], before[4]), (2031, 7, 41))
        # It ticks on, in the open dialog and on the page behind it.
        wait_for(lambda: self.clock_fields(operator) > before, "the clock to tick")
        operator.find(**{"class": "QLabel", "text": "2031/"})
        operator.press_widget(style="close.png", window="DateTimeDialog")

        # The hardware clock has it as well: the panel starts with it again.
        operator.press_widget(name="restartPushButton")
        operator.close()
        operator = self.panel.look_after_restart()
        self.open_settings(operator)
        operator.find(**{"class": "QLabel", "text": "2031/"})
        operator.close()

    def beeps(self):
        return (self.panel.state / "state" / "beeps").read_text().split()

    def buzzer_is_on(self):
        area = (self.panel.state / "hmi_data" / "sfb.dat").read_bytes()
        return bool(area[17 // 8] >> 17 % 8 & 1)

    def test_key_click_is_switched_off_and_on(self):
        operator = self.panel.start()
        self.open_settings(operator)
        operator.press_widget(style="/switch_on.png")
        operator.find(style="/switch_off.png")
        self.assertEqual(self.beeps(), [])  # off: silent
        self.assertFalse(self.buzzer_is_on())
        operator.press_widget(name="generalPushButton")
        operator.press_widget(style="/switch_off.png")
        operator.find(style="/switch_on.png")
        self.assertTrue(self.buzzer_is_on())
        self.assertEqual(self.beeps(), ["long", "long"])  # on: the press and the click
        operator.press_widget(name="generalPushButton")
        wait_for(lambda: self.beeps() == ["long"] * 3, "the key click")
        operator.close()

    def texts(self, operator):
        return {widget["text"] for widget in operator.widgets()}

    def test_a_new_device_may_be_english_from_the_start(self):
        operator = self.panel.start("--language", "english")
        self.open_settings(operator)
        wait_for(lambda: {"System Settings", "General", "Restart"} <= self.texts(operator),
                 "the English texts")
        operator.press_widget(name="Chinese")
        wait_for(lambda: "系统设置" in self.texts(operator), "the Chinese texts")
        operator.close()
        self.panel.stop()
        # It keeps what its operator chose.
        operator = self.panel.start("--language", "english")
        self.open_settings(operator)
        wait_for(lambda: "系统设置" in self.texts(operator), "the Chinese texts again")
        operator.close()

    def test_language_brightness_and_buzzer_are_as_left_after_a_restart(self):
        chinese = {"系统设置", "通用设置", "网络设置", "重启", "亮度：", "日期与时间：", "蜂鸣器：", "修改"}
        english = {"System Settings", "General", "Network", "Restart", "Brightness:",
                   "Date&Time:", "Buzzer:", "setting"}
        operator = self.panel.start()
        self.open_settings(operator)
        self.assertLessEqual(chinese, self.texts(operator))
        operator.press_widget(name="English")
        wait_for(lambda: english <= self.texts(operator), "the English texts")
        self.assertFalse(chinese & self.texts(operator))
        self.enter_brightness(operator, "9")
        operator.press_widget(style="/switch_on.png")
        wait_for(lambda: not self.buzzer_is_on(), "the buzzer to be off")

        operator.press_widget(name="restartPushButton")
        operator.close()
        operator = self.panel.look_after_restart()
        self.open_settings(operator)
        wait_for(lambda: english <= self.texts(operator), "the English texts again")
        self.assertEqual(brightness_field(operator), "09")
        operator.find(style="/switch_off.png")
        operator.press_widget(name="Chinese")
        wait_for(lambda: chinese <= self.texts(operator), "the Chinese texts")
        operator.close()


if __name__ == "__main__":
    unittest.main(verbosity=2)
