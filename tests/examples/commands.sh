. "$source/tests/corvixctl/commands.sh"
