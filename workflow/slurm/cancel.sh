#!/bin/sh
# Cancels the jobs that Snakemake names.
exec scancel "$@"
